#include "Operations/transfer/TransferSources.hpp"

#include "Operations/frame/FolderChecks.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/transfer/Standing.hpp"
#include "Operations/transfer/TransferErrors.hpp"
#include "files/Identity.hpp"
#include "files/ItemStatus.hpp"
#include "files/Place.hpp"
#include "files/SameItem.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include <fcntl.h>

namespace orv {
namespace {

using OnConflict = TransferPolicy::OnConflict;

/// The identities of the folder and of those around it.
std::vector<Identity> folders_around(const Url& folder)
{
    std::vector<Identity> around;
    for (Url url = folder;; url = url.deleting_last_path_component()) {
        const Place place = Place::of(url);
        around.push_back(identity_of(item_facts(place.folder(), place.name(), url)));
        if (url.path() == "/")
            return around;
    }
}

/// Resolves the links among the folders of items; those of one folder after the other at once.
class FolderResolver {
public:
    Url operator()(const Url& item)
    {
        const Url folder = item.deleting_last_path_component();
        if (folder != folder_) {
            resolved_ = folder.resolving_symlinks();
            folder_ = folder;
        }
        return resolved_.appending(item.last_path_component());
    }

private:
    Url folder_;
    Url resolved_;
};

bool may_replace(OnConflict policy)
{
    return policy == OnConflict::replace || policy == OnConflict::replace_if_older ||
           policy == OnConflict::skip_if_equal;
}

bool is_any_of(const Url& item, const std::vector<Identity>& identities)
try {
    const Place place = Place::of(item);
    const ItemFacts facts = item_facts(place.folder(), place.name(), item);
    return S_ISDIR(facts.stx_mode) &&
           std::ranges::find(identities, identity_of(facts)) != identities.end();
} catch (const Error&) {
    return false; // the transfer meets that failure itself
}

/// True if `item` is the folder, or one around it, under another spelling: some volumes make up an
/// inode number for each.
bool is_spelling_around(const Url& item, Url folder)
{
    for (; folder.path() != "/"; folder = folder.deleting_last_path_component())
        if (is_other_spelling(item, folder))
            return true;
    return false;
}

} // namespace

void check_plan(const TransferPlan& plan)
{
    if (plan.name && plan.sources.size() != 1)
        throw transfer_place("A new name can be given to a single item only.").at(plan.folder);
    if (plan.name)
        check_name(*plan.name, plan.folder);
    for (const Url& source : plan.sources) {
        check_path(source, "Source", transfer_place);
        const std::string name = source.last_path_component();
        if (name == "." || name == "..")
            throw transfer_place(
                "Source url must end in the name of an item, not in \".\" or \"..\".")
                .at(source);
    }
    check_path(plan.folder.appending("name"), "Destination", transfer_place);
    check_destination_folder(plan.folder, transfer_place);
}

std::vector<TransferSource> sources_of(const TransferPlan& plan, const Url& folder)
{
    const std::vector<Identity> around = folders_around(folder);
    FolderResolver resolved;
    std::unordered_set<std::string> names;
    std::vector<TransferSource> sources;
    sources.reserve(plan.sources.size());
    for (const Url& given : plan.sources) {
        TransferSource source{sources.size(), resolved(given.standardized()),
                              plan.name.value_or(given.last_path_component())};
        const bool is_first_of_name = names.insert(source.new_name).second;
        if (is_any_of(source.url, around) || is_spelling_around(source.url, folder))
            source.refusal = source_conflict(source.url);
        else if (!is_first_of_name && may_replace(plan.policy.on_conflict))
            source.refusal = two_of_a_name(source.url);
        sources.push_back(std::move(source));
    }
    return sources;
}

std::vector<LockType> locks_of(const TransferPlan& plan, const std::vector<TransferSource>& sources,
                               const Url& folder)
{
    const bool moves = plan.kind == TransferPlan::Kind::move;
    std::vector<LockType> locks;
    locks.reserve(2 * sources.size());
    for (const TransferSource& source : sources) {
        locks.push_back(moves ? write(source.url) : read(source.url));
        locks.push_back(write(folder.appending(source.new_name)));
    }
    return locks;
}

} // namespace orv
