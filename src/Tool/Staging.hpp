#pragma once

#include "Tool/PartialFile.hpp"

#include <string>

namespace orv {

/// Where one request builds its files, out of sight until they are published: without a name where
/// the file system can do that; else in the processed-files folder as long as they can be moved to
/// their destination from there; else under a hidden name beside it, which a note in that folder
/// announces.
///
/// Threading: one thread.
class Staging {
public:
    Staging() = default;
    ~Staging();
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    /// A new file that is to be published in `destination`. Of those with a name there is one at a
    /// time.
    ///
    /// Errors: the platform's.
    PartialFile create(const DestinationFolder& destination);

    /// Says whether a file that could not be published for the errno `code` is to be built anew, in
    /// another way than up to now.
    bool can_do_otherwise(int code);

    /// Files have no names, so that any number of them can be built at once.
    [[nodiscard]] bool is_unnamed() const { return way_ == Way::unnamed; }

private:
    enum class Way { unnamed, in_processed_files, beside_destination };

    void open_processed_files(const DestinationFolder& destination);
    void announce(const DestinationFolder& destination);
    void withdraw_note();

    Way way_ = Way::unnamed;
    FileDescriptor processed_files_fd_;
    DestinationFolder processed_files_{-1, {}};
    FileDescriptor note_; // holds the note's lock
    std::string note_uuid_;
    Url announced_folder_;
};

} // namespace orv
