#pragma once

#include "Operations/PartialFile.hpp"

#include <optional>
#include <string>

namespace orv {

/// Where one request builds its files: in the processed-files folder as long as they can be moved
/// to their destination from there, else hidden beside it.
///
/// Threading: one thread.
class Staging {
public:
    Staging() = default;
    ~Staging();
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    /// A new file that is to be published in `destination`. There is one at a time.
    ///
    /// Errors: the platform's.
    PartialFile create(const DestinationFolder& destination);

    /// Says that the destinations lie on another volume than the processed-files folder.
    void stay_beside_destination() { beside_ = true; }
    [[nodiscard]] bool is_beside_destination() const { return beside_; }

private:
    void open_processed_files();
    void announce(const DestinationFolder& destination);
    void withdraw_note();

    DestinationFolder processed_files_{-1, {}};
    FileDescriptor processed_files_fd_;
    bool beside_ = false;
    FileDescriptor note_; // holds the note's lock
    std::string note_uuid_;
    Url announced_folder_;
};

} // namespace orv
