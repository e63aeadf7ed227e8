#include "Operations/MultiCopyOpr.hpp"

#include "Operations/CopyOpr.hpp"
#include "Operations/FolderSizeOpr.hpp"
#include "Operations/copying/CopiesAhead.hpp"
#include "Operations/frame/BatchAnswers.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "Tool/Tool.hpp"
#include "files/ItemStatus.hpp"
#include "files/LinkResolver.hpp"

#include <orv/utility/Fatal.hpp>

#include <algorithm>
#include <cstdint>
#include <optional>

namespace orv {
namespace {

using CopyBatch = Request<MultiCopyOperation>;

constexpr ErrorPlace multi_copy_place{"src/Operations/MultiCopyOpr",
                                      "copy(src_urls:dest_folder_url:status_closure:)"};

/// The sizes of a batch's items, and the finished part.
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

    /// The latest report; none for a batch without an item.
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

/// Copies the items of a batch one after the other.
class BatchCopier {
public:
    BatchCopier(CopyBatch& batch, const std::vector<Url>& sources, const Url& folder)
        : batch_(batch), sources_(sources), folder_(folder),
          answers_(how_many_conflicts_occur(sources, folder)), progress_(measured(batch, sources)),
          ahead_(sources, folder)
    {
    }

    /// Copies the next item.
    CopyOperation::Status copy_next();

    /// The progress of the latest report; none for a batch without an item.
    [[nodiscard]] const std::optional<CopyProgress>& last_progress() const
    {
        return progress_.last();
    }

    /// True once a copy has replaced an item.
    [[nodiscard]] bool has_replaced() const { return support_.has_replaced; }

private:
    void pass_on(const CopyOperation::Status& status);

    CopyBatch& batch_;
    const std::vector<Url>& sources_;
    const Url& folder_;
    std::size_t next_ = 0;
    BatchAnswers answers_;
    BatchProgress progress_;
    LinkResolver source_links_;
    LinkResolver destination_links_;
    CopySupport support_;
    CopiesAhead ahead_;
};

CopyOperation::Status BatchCopier::copy_next()
{
    const Url& source = sources_[next_];
    const Url destination = folder_.appending(source.last_path_component());
    std::optional<BuiltAhead> built = ahead_.take(next_++, answers_.may_ask());
    support_.built = built ? &*built : nullptr;
    support_.is_last = next_ == sources_.size();
    auto outcome = batch_.run_child<CopyOperation>(
        [this](const CopyOperation::Status& status) { pass_on(status); },
        [&](Request<CopyOperation>& request) {
            return copy_item(request, source_links_.resolve(source),
                             destination_links_.resolve(destination), support_);
        });
    progress_.item_done();
    answers_.item_done();
    return outcome;
}

void BatchCopier::pass_on(const CopyOperation::Status& status)
{
    if (const auto* of_item = std::get_if<status::progress<CopyProgress>>(&status)) {
        batch_.report_soon(status::progress<CopyProgress>{progress_.overall(of_item->record)});
    } else if (const auto* conflict = std::get_if<status::conflict_occured>(&status)) {
        answers_.settle(conflict->resolver, [&] {
            ahead_.give_up(); // no descriptors while a person thinks
            support_.staging.close();
            batch_.put(conflict->resolver);
        });
    }
}

void report_closing_progress(CopyBatch& batch, std::optional<CopyProgress> closing)
{
    batch.check_cancelled();
    if (!closing)
        fatal("copy(src_urls:dest_folder_url:status_closure:) was called with an empty list.");
    closing->value = 1;
    batch.report(status::progress<CopyProgress>{*closing});
}

MultiCopyOperation::Status run(CopyBatch& batch, const std::vector<Url>& sources, const Url& folder)
{
    check_destination_folder(folder, multi_copy_place);
    check_sources(sources, folder, multi_copy_place);
    batch.report(status::preparing{});
    BatchCopier copier(batch, sources, folder);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const auto outcome = copier.copy_next();
        if (!std::holds_alternative<status::success>(outcome))
            return outcome;
    }
    // The old item is gone, so a cancel comes too late.
    if (copier.has_replaced())
        batch.set_done();
    report_closing_progress(batch, copier.last_progress());
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
