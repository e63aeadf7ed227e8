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

/// The copy of a file that was built before its turn, and the version of the source that it holds.
struct BuiltAhead {
    std::optional<PartialFile> file;
    ItemVersion source;
};

/// Builds the copies of a batch's small files before their turn, on this thread and a second one.
/// An item's turn takes its locks and asks its question as ever, and then uses what was built if
/// its source is still the same.
///
/// Threading: one thread.
class CopiesAhead {
public:
    /// The `sources` are to go into `folder`; both outlive this.
    CopiesAhead(const std::vector<Url>& sources, const Url& folder);

    /// What was built for `sources[index]`, and goes on to build what follows. To be called for
    /// each index, in order. As long as there is a value, the descriptors that the copy of the item
    /// needs are leased, too; without one nothing is leased. With `asks`, an item whose name is
    /// taken raises a question, so its turn is waited for.
    [[nodiscard]] std::optional<BuiltAhead> take(std::size_t index, bool asks);

    /// Gives up what was built, and the descriptors. To be called before the batch waits.
    void give_up();

private:
    struct Job {
        std::size_t index;
        ItemVersion version;
        std::shared_ptr<const FileDescriptor> folder; // stays open until the file is built
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
