#include "Operations/MultiCopyOpr.hpp"

#include "Operations/CopyOpr.hpp"
#include "Operations/FolderSizeOpr.hpp"
#include "Operations/frame/BatchAnswers.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "Tool/Tool.hpp"
#include "files/ItemStatus.hpp"

#include <orv/utility/Fatal.hpp>

#include <algorithm>
#include <cstdint>
#include <optional>

namespace orv {
namespace {

using CopyBatch = Request<MultiCopyOperation>;

constexpr ErrorPlace multi_copy_place{"src/Operations/MultiCopyOpr",
                                      "copy(src_urls:dest_folder_url:status_closure:)"};

/// What the items of a batch weigh, and how much of that is done.
///
/// Units: bytes.
class BatchProgress {
public:
    explicit BatchProgress(std::vector<std::int64_t> sizes) : sizes_(std::move(sizes))
    {
        for (const std::int64_t size : sizes_)
            total_ += static_cast<float>(size);
    }

    /// The progress of the whole batch when the current item reports `of_item`.
    CopyProgress overall(const CopyProgress& of_item)
    {
        last_ = of_item;
        const auto of_current = static_cast<float>(sizes_[current_]) * of_item.value;
        last_->value = total_ > 0 ? std::min((done_ + of_current) / total_, 1.0F) : 0.0F;
        return *last_;
    }

    void item_done() { done_ += static_cast<float>(sizes_[current_++]); }

    /// What was reported last; nothing for a batch without an item.
    [[nodiscard]] const std::optional<CopyProgress>& last() const { return last_; }

private:
    std::vector<std::int64_t> sizes_;
    std::size_t current_ = 0;
    float total_ = 0;
    float done_ = 0;
    std::optional<CopyProgress> last_;
};

std::vector<std::int64_t> measured(CopyBatch& batch, const std::vector<Url>& sources)
{
    const DescriptorLease descriptors = lease_descriptors(batch, needed_by_walk);
    std::vector<std::int64_t> sizes;
    TreeSize total;
    for (const Url& source : sources) {
        if (!Tool::item_exists(source))
            throw missing_item(
                multi_copy_place("Source item doesn't exist. \n" + source.description()), source);
        const TreeSize size = item_size(source, [&] { batch.check_cancelled(); });
        total += size;
        sizes.push_back(size.bytes);
    }
    batch.tally().expect(total.bytes, total.items);
    return sizes;
}

CopyOperation::Status copy_one(CopyBatch& batch, BatchAnswers& answers, BatchProgress& progress,
                               const Url& source, const Url& folder)
{
    const Url destination = folder.appending(source.last_path_component());
    const auto pass_on = [&](const CopyOperation::Status& status) {
        if (const auto* of_item = std::get_if<status::progress<CopyProgress>>(&status))
            batch.report_soon(status::progress<CopyProgress>{progress.overall(of_item->record)});
        else if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
            answers.settle(conflict->resolver, [&] { batch.put(conflict->resolver); });
    };
    return batch.run_child<CopyOperation>(pass_on, [&](Request<CopyOperation>& request) {
        return copy_item(request, source.resolving_symlinks(), destination.resolving_symlinks());
    });
}

void report_closing_progress(CopyBatch& batch, const BatchProgress& progress)
{
    batch.check_cancelled();
    if (!progress.last())
        fatal("copy(src_urls:dest_folder_url:status_closure:) was called with an empty list.");
    CopyProgress closing = *progress.last();
    closing.value = 1;
    batch.report(status::progress<CopyProgress>{closing});
}

MultiCopyOperation::Status run(CopyBatch& batch, const std::vector<Url>& sources, const Url& folder)
{
    check_destination_folder(folder, multi_copy_place);
    check_sources(sources, folder, multi_copy_place);
    batch.report(status::preparing{});
    BatchAnswers answers(how_many_conflicts_occur(sources, folder));
    BatchProgress progress(measured(batch, sources));
    for (const Url& source : sources) {
        const auto outcome = copy_one(batch, answers, progress, source, folder);
        if (!std::holds_alternative<status::success>(outcome))
            return outcome;
        progress.item_done();
        answers.item_done();
    }
    report_closing_progress(batch, progress);
    return status::success{};
}

} // namespace

std::shared_ptr<MultiCopyOperation> copy_items(std::vector<Url> src_urls, Url dest_folder_url,
                                               MultiCopyOperation::StatusClosure status_closure)
{
    return start_request<MultiCopyOperation>(
        std::move(status_closure),
        [sources = std::move(src_urls), folder = std::move(dest_folder_url)](CopyBatch& batch) {
            return run(batch, sources, folder);
        });
}

} // namespace orv
