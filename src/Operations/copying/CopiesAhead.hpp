#pragma once

#include "Operations/copying/FilesAhead.hpp"
#include "files/ItemVersion.hpp"
#include "utility/DescriptorLease.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace orv {

/// A file's copy made before its turn, and the version of its source.
struct BuiltAhead {
    std::optional<PartialFile> file;
    ItemVersion source;
};

/// Builds the copies of a batch's small files before their turn, on this thread and a second one.
/// At its turn an item takes its locks and asks its question as ever. Then the copy counts if the
/// source is still the same.
///
/// Threading: one thread.
class CopiesAhead {
public:
    /// The `sources` are to go into `folder`; both outlive this.
    CopiesAhead(const std::vector<Url>& sources, const Url& folder);

    /// Returns the copy of `sources[index]`, and builds the next ones. Call it for each index, in
    /// order. A value comes with a lease on the descriptors for the item's copy; without one there
    /// is no lease. With `asks`, an item with a taken name raises a question, and so waits for its
    /// turn.
    [[nodiscard]] std::optional<BuiltAhead> take(std::size_t index, bool asks);

    /// Gives up the copies and the descriptors. Call it before the batch waits.
    void give_up();

private:
    struct Job {
        std::size_t index;
        ItemVersion version;
        std::shared_ptr<const FileDescriptor> folder; // stays open until the file is complete
    };

    void go_on(bool asks);
    [[nodiscard]] bool open();
    [[nodiscard]] std::optional<Job> job_for(std::size_t index, bool asks);
    [[nodiscard]] bool is_taken(const std::string& name) const;

    const std::vector<Url>& sources_;
    const Url& folder_;
    bool is_possible_ = true;

    std::size_t next_ = 0;
    std::size_t steps_ = 0;
    FileDescriptor destination_;
    Url source_folder_url_;
    std::shared_ptr<const FileDescriptor> source_folder_;
    std::optional<DescriptorLease> lease_;
    std::deque<Job> jobs_;
    std::optional<FilesAhead> files_; // goes before the folders above
};

} // namespace orv
