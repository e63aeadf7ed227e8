#include "Operations/SearchItemsOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/searching/SearchAhead.hpp"
#include "Tool/WalkedFolder.hpp"
#include "utility/StopWatch.hpp"
#include "utility/TextSearch.hpp"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <fcntl.h>

namespace orv {
namespace {

using Criteria = SearchItemsOperation::Criteria;

constexpr DescriptorNeed needed_by_search = needed_ahead(needed_by_walk, 32);

constexpr struct statx no_facts {
};

constexpr ErrorPlace search_place{
    "src/Operations/SearchItemsOpr",
    "search_items(inside:keyword:recursive:include_hidden_files:criterias:status_closure:)"};

/// The results of one search, and its reports.
class Findings {
public:
    explicit Findings(Request<SearchItemsOperation>& request) : request_(request) {}

    void add(FileItem item) { batch_.push_back(std::move(item)); }

    /// Reports new results after a while without a report.
    ///
    /// Errors: `Exception` after a cancel.
    void report_when_due()
    {
        constexpr double interval_s = 0.5;
        request_.check_cancelled();
        if (since_last_.elapsed_time() <= interval_s)
            return;
        since_last_.reset();
        load_all_custom_attrs(batch_);
        all_.insert(all_.end(), batch_.begin(), batch_.end());
        request_.report(SearchItemsOperation::currently_fetched{std::exchange(batch_, {})});
    }

    [[nodiscard]] std::vector<FileItem> all()
    {
        load_all_custom_attrs(batch_);
        all_.insert(all_.end(), std::make_move_iterator(batch_.begin()),
                    std::make_move_iterator(batch_.end()));
        return std::move(all_);
    }

private:
    Request<SearchItemsOperation>& request_;
    std::vector<FileItem> all_;   // with loaded attributes
    std::vector<FileItem> batch_; // found since
    StopWatch since_last_;
};

/// One search at work.
class Search {
public:
    Search(Request<SearchItemsOperation>& request, const std::string& keyword,
           const std::vector<Criteria>& criterias, std::size_t max_items_ahead)
        : request_(request), findings_(request), checks_names_(has(criterias, Criteria::file_name)),
          checks_contents_(has(criterias, Criteria::file_content)),
          names_(checks_names_ ? keyword : "", users_folding_rules()),
          report_when_due_([this] { findings_.report_when_due(); }),
          ahead_({checks_contents_ ? keyword : "", rules_of_contents()}, max_items_ahead,
                 report_when_due_)
    {
    }

    std::vector<FileItem> run(const Url& folder, const TreeWalkOptions& options)
    {
        TreeWalk walk = item_walk(folder, options);
        const Url resolved_root = folder.resolving_symlinks();
        for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
            if (event != TreeWalk::Event::item) {
                folder_.reset();
                continue;
            }
            findings_.report_when_due();
            request_.tally().add_items(1);
            look_at(walk, resolved_root);
            pause_in_test_mode(std::chrono::milliseconds(200));
        }
        while (!ahead_.is_empty())
            keep(ahead_.take());
        return findings_.all();
    }

private:
    static bool has(const std::vector<Criteria>& criterias, Criteria criteria)
    {
        return std::find(criterias.begin(), criterias.end(), criteria) != criterias.end();
    }

    static FoldingRules rules_of_contents()
    {
        FoldingRules rules = users_folding_rules();
        rules.stray_bytes_are_latin_1 = true;
        return rules;
    }

    void look_at(TreeWalk& walk, const Url& resolved_root)
    {
        const bool is_found = checks_names_ && names_.found_in(walk.name()) && walk.describe();
        const bool has_content = checks_contents_ && S_ISREG(walk.facts().stx_mode);
        if (!is_found && !has_content)
            return;
        ahead_.add({folder_of(walk, resolved_root), walk.name(), is_found,
                    is_found ? walk.facts() : no_facts});
        while (!ahead_.is_empty() &&
               (ahead_.is_first_done() || ahead_.is_full() || intr_test_mode()))
            keep(ahead_.take());
    }

    /// The walk's current folder, for opening contents.
    std::shared_ptr<const SearchedFolder> folder_of(const TreeWalk& walk, const Url& resolved_root)
    {
        if (folder_)
            return folder_;
        auto folder = std::make_shared<SearchedFolder>();
        folder->items = item_folder(walk, resolved_root);
        if (checks_contents_) {
            folder->descriptor = FileDescriptor(::fcntl(walk.folder(), F_DUPFD_CLOEXEC, 0));
            if (!folder->descriptor)
                throw platform_error(errno, folder->items.url);
        }
        return folder_ = std::move(folder);
    }

    void keep(const SearchedItem& item)
    {
        if (item.is_found)
            findings_.add(file_item(item.folder->items, item.name, item.facts));
    }

    Request<SearchItemsOperation>& request_;
    Findings findings_;
    bool checks_names_;
    bool checks_contents_;
    TextSearch names_;
    std::shared_ptr<const SearchedFolder> folder_;
    std::function<void()> report_when_due_;
    SearchAhead ahead_;
};

} // namespace

std::shared_ptr<SearchItemsOperation>
search_items(Url inside, std::string keyword, bool recursive, bool include_hidden_files,
             std::vector<Criteria> criterias, SearchItemsOperation::StatusClosure status_closure)
{
    return start_request<SearchItemsOperation>(
        std::move(status_closure),
        [inside = std::move(inside), keyword = std::move(keyword), recursive, include_hidden_files,
         criterias = std::move(criterias)](
            Request<SearchItemsOperation>& request) -> SearchItemsOperation::Status {
            check_is_folder(inside, search_place("No item exists at given url."),
                            search_place("Given url must point to a folder."));
            TreeWalkOptions options;
            options.recursive = recursive;
            options.include_hidden_files = include_hidden_files;
            options.describes_all = false;
            options.on_passed_over = failures_of(request);
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_search);
            // Their folders stay open; the other half is for their contents.
            Search search(request, keyword, criterias,
                          2 * steps_ahead(descriptors, needed_by_walk));
            return SearchItemsOperation::completed{search.run(inside, options)};
        });
}

} // namespace orv
