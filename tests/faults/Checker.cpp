#include "faults/Checker.hpp"

#include "faults/Archives.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <set>

namespace orv::test {
namespace {

using Problems = std::vector<std::string>;

const ItemState* find(const Snapshot& items, const std::string& path)
{
    const auto found = items.find(path);
    return found == items.end() ? nullptr : &found->second;
}

/// Whether the item is one that is being built out of sight, or lies in one.
bool is_unfinished(const std::filesystem::path& path)
{
    return std::ranges::any_of(path, [](const std::filesystem::path& part) {
        const std::string& name = part.native();
        return name.starts_with('.') && name.ends_with(".orvresume") && name.size() == 47;
    });
}

/// Whether the item is one that this request has finished. Folders are finished after their
/// contents, links and FIFOs get their times after they were made.
bool is_complete(const ItemState& item, const ItemState& wanted, Strictness strictness)
{
    return is_like(item, wanted, S_ISREG(item.type) ? strictness : Strictness::content);
}

/// A problem with the item at `path`, or an empty text.
std::string wrong_item(const ItemState* before, const ItemState* after, const ItemState* now,
                       Strictness strictness)
{
    const bool is_to_stay = before && after && before->alike(*after);
    if (!now)
        return is_to_stay ? "is lost" : "";
    if (is_to_stay)
        return is_like(*now, *before, strictness)
                   ? ""
                   : "was to stay as it is, but is " + described(*now);
    if (before && is_like(*now, *before, strictness))
        return "";
    if (before && S_ISDIR(now->type) && now->same_content(*before))
        return ""; // its contents are about to go
    if (after && is_complete(*now, *after, strictness))
        return "";
    return (after ? "is not complete: " : "was not asked for: ") + described(*now);
}

std::set<std::string> all_paths(const Snapshot& one, const Snapshot& two, const Snapshot& three)
{
    std::set<std::string> paths;
    for (const Snapshot* items : {&one, &two, &three})
        for (const auto& [path, item] : *items)
            paths.insert(path);
    return paths;
}

Problems differences(const Snapshot& wanted, const Snapshot& now, Strictness strictness)
{
    Problems problems;
    for (const std::string& path : all_paths(wanted, now, {})) {
        const ItemState* want = find(wanted, path);
        const ItemState* have = find(now, path);
        if (!want)
            problems.push_back(path + ": is too much: " + described(*have));
        else if (!have)
            problems.push_back(path + ": is missing");
        else if (!is_like(*have, *want, strictness))
            problems.push_back(path + ": is " + described(*have) + " instead of " +
                               described(*want));
    }
    return problems;
}

/// Whether all that `wanted` has at `place` and below stands there.
bool is_complete_at(const std::string& place, const Snapshot& wanted, const Snapshot& now,
                    Strictness strictness)
{
    return std::ranges::all_of(wanted, [&](const auto& entry) {
        const ItemState* have = find(now, entry.first);
        return !is_at_or_below(entry.first, place) ||
               (have && is_like(*have, entry.second, strictness));
    });
}

bool is_same(const std::string* one, const std::string* other)
{
    return one && other ? *one == *other : one == other;
}

/// A problem with a row, or an empty text. Rows follow their items: an item that stands has its row
/// until it is gone, and one that is made gets its row afterwards.
std::string wrong_row(const std::string* before, const std::string* after, const std::string* now,
                      bool item_exists, bool moves)
{
    if (moves && !before && item_exists && !now)
        return "is missing, though its item has come";
    if (is_same(now, before))
        return "";
    if (!is_same(now, after))
        return now ? "is wrong: " + *now : "is lost";
    if (!now && item_exists)
        return "is lost, though its item is not";
    if (now && !item_exists && !moves)
        return "came before its item";
    return "";
}

const std::string* find(const Rows& rows, const std::string& key)
{
    const auto found = rows.find(key);
    return found == rows.end() ? nullptr : &found->second;
}

/// Whether the item that a request is to replace still stands there, in whole.
bool has_kept_replaced(const FaultCase& request, const Snapshot& now)
{
    return !request.replaced.empty() &&
           is_complete_at(request.replaced, request.before.items, now, Strictness::content);
}

Problems wrong_rows(const FaultCase& request, const Rows& now, const Snapshot& items)
{
    std::set<std::string> keys;
    for (const Rows* rows : {&request.before.rows, &request.after.rows, &now})
        for (const auto& [key, row] : *rows)
            keys.insert(key);
    Problems problems;
    const bool keeps_replaced = has_kept_replaced(request, items);
    for (const std::string& key : keys) {
        const std::string item = "home/" + key;
        const bool is_old_item_gone =
            !request.tight_volume.empty() && item == request.replaced && !items.contains(item);
        if (is_old_item_gone && !find(now, key))
            continue;
        const bool has_come =
            items.contains(item) && !(keeps_replaced && is_at_or_below(item, request.replaced));
        const std::string wrong =
            wrong_row(find(request.before.rows, key), find(request.after.rows, key), find(now, key),
                      has_come, !request.moved.empty());
        if (!wrong.empty())
            problems.push_back("the row of " + key + " " + wrong);
    }
    return problems;
}

/// What is wrong, after the next start, with the rows of a replaced item that stayed.
Problems wrong_rows_of_kept(const FaultCase& request, const Rows& now, const Snapshot& items)
{
    if (!has_kept_replaced(request, items))
        return {};
    const auto rows_of_kept = [&](const Rows& rows) {
        Rows kept = rows;
        std::erase_if(kept, [&](const auto& row) {
            return !is_at_or_below("home/" + row.first, request.replaced);
        });
        return kept;
    };
    if (rows_of_kept(now) == rows_of_kept(request.before.rows))
        return {};
    return {"the item that was not replaced has other rows"};
}

Problems wrong_replaced(const FaultCase& request, const Snapshot& items, Strictness strictness)
{
    const auto is_whole = [&](const Scene& scene) {
        const auto part = [&](const Snapshot& all) {
            Snapshot below;
            for (const auto& entry : all)
                if (is_at_or_below(entry.first, request.replaced))
                    below.insert(entry);
            return below;
        };
        return differences(part(scene.items), part(items), strictness).empty();
    };
    if (request.replaced.empty() || is_whole(request.before) || is_whole(request.after))
        return {};
    // A copied folder grows in place. Its items are looked at one by one.
    if (const ItemState* now = find(items, request.replaced);
        !request.tight_volume.empty() && (!now || S_ISDIR(now->type)))
        return {};
    return {request.replaced + " is neither the old item nor the new one"};
}

/// Failing to keep what only describes an item is no error where the user may not.
bool may_lose_metadata(const Fault& fault, const Supervision& ending)
{
    const auto is = [&](const char* call) { return ending.hit.starts_with(call); };
    return fault.kind == Fault::Kind::error && fault.code == EACCES &&
           (is("fchmod") || is("chmod") || is("utimensat") || is("fsetxattr") || is("openat"));
}

class Check {
public:
    Check(const FaultCase& request, const Site& site, const Fault& fault, const Supervision& ending)
        : request_(request), site_(site), fault_(fault), ending_(ending),
          strictness_(may_lose_metadata(fault, ending) ? Strictness::content : Strictness::all)
    {
    }

    Problems run()
    {
        check_ending();
        Snapshot items = items_of_site();
        check_tidiness(items);
        std::erase_if(items, [&](const auto& entry) {
            return is_unfinished(entry.first) && !request_.before.items.contains(entry.first);
        });
        check_state(items);
        if (!site_.start_again())
            problems_.emplace_back("the library does not start again");
        items = items_of_site();
        check_state(items);
        add(wrong_replaced(request_, items, strictness_));
        add(wrong_rows_of_kept(request_, site_.rows(), items));
        if (site_.unfinished() != Site::unfinished_of_living())
            problems_.emplace_back("unfinished files are left, or a living process lost its own");
        return problems_;
    }

private:
    [[nodiscard]] Snapshot items_of_site() const
    {
        Snapshot items = site_.items();
        recognise_archive(request_, items, strictness_);
        return items;
    }

    void check_ending()
    {
        if (ending_.hung)
            problems_.emplace_back("it hangs");
        else if (fault_.kind != Fault::Kind::kill && ending_.exit_code != 0 &&
                 ending_.exit_code != 1)
            problems_.push_back("it ended by signal " + std::to_string(ending_.signal) +
                                " or with code " + std::to_string(ending_.exit_code));
        if (ending_.exit_code == 1)
            check_error_line();
    }

    void check_error_line()
    {
        const std::string& text = ending_.errors;
        const bool is_one_line = text.find('\n') == text.size() - 1;
        const bool has_path = text.find(site_.root().path()) != std::string::npos;
        // Without an answer about the room on a volume, nothing is removed to make some.
        const bool is_full =
            !request_.tight_volume.empty() && text.find(std::strerror(ENOSPC)) != std::string::npos;
        const bool has_reason = text.find(std::strerror(fault_.code)) != std::string::npos ||
                                text.find("database") != std::string::npos || is_full;
        if (!is_one_line || !has_path || !has_reason)
            problems_.push_back("the error tells too little: " + text);
    }

    /// A process that ends by itself leaves no unfinished files of its own, not even for a while.
    void check_tidiness(const Snapshot& items)
    {
        // A request that is done may leave the old item to the next start, one that is not may be
        // unable to put it back.
        const auto is_hit = [&](const char* call) { return ending_.hit.starts_with(call); };
        const bool is_about_old_item =
            is_hit("fsync") || ending_.hit.find(".orvresume") != std::string::npos;
        const bool keeps_replaced_item = !request_.replaced.empty() && is_about_old_item &&
                                         (ending_.exit_code == 0 || is_hit("rename"));
        if (fault_.kind == Fault::Kind::kill || ending_.hit.starts_with("unlink") ||
            keeps_replaced_item)
            return;
        // What is not flushed may come back, so its note stays.
        const bool keeps_note = ending_.hit.starts_with("fsync");
        for (const std::string& name : site_.unfinished())
            if (!Site::is_unfinished_from_the_start(name) &&
                !(keeps_note && name.ends_with(".note")))
                problems_.push_back("the unfinished file " + name + " is left");
        for (const auto& [path, item] : items)
            if (is_unfinished(path) && !request_.before.items.contains(path))
                problems_.push_back("the unfinished file " + path + " is left");
    }

    void check_state(const Snapshot& items)
    {
        add(ending_.exit_code == 0 ? differences(request_.after.items, items, strictness_)
                                   : wrong_items(request_, items, strictness_));
        add(wrong_order(request_, items, strictness_));
        if (ending_.exit_code == 1 && items.contains(request_.taken_back))
            problems_.push_back(request_.taken_back + " is left of what failed");
        try {
            const Rows rows = site_.rows();
            if (ending_.exit_code == 0 && rows != request_.after.rows)
                problems_.emplace_back("the rows are not those that were to be");
            add(wrong_rows(request_, rows, items));
        } catch (const std::exception& error) {
            problems_.emplace_back(error.what());
        }
    }

    void add(const Problems& more) { problems_.insert(problems_.end(), more.begin(), more.end()); }

    const FaultCase& request_;
    const Site& site_;
    const Fault& fault_;
    const Supervision& ending_;
    const Strictness strictness_;
    Problems problems_;
};

/// What is on the disks after a power cut.
class CutCheck {
public:
    CutCheck(const FaultCase& request, const Site& site, Promise promise, bool is_done)
        : request_(request), site_(site), promise_(promise), is_done_(is_done)
    {
    }

    Problems run()
    {
        Snapshot items = items_of_site();
        std::erase_if(items, [&](const auto& entry) {
            return is_unfinished(entry.first) && !request_.before.items.contains(entry.first);
        });
        check(items);
        if (!site_.start_again())
            problems_.emplace_back("the library does not start again");
        items = items_of_site();
        add(wrong_replaced(request_, items, Strictness::all));
        add(wrong_rows_of_kept(request_, site_.rows(), items));
        check(items);
        for (const std::string& name : site_.unfinished())
            problems_.push_back("the unfinished file " + name + " is left");
        return problems_;
    }

private:
    [[nodiscard]] Snapshot items_of_site() const
    {
        Snapshot items = site_.items();
        recognise_archive(request_, items);
        return items;
    }

    void check(Snapshot items)
    {
        if (promise_ == Promise::originals)
            forgive_what_is_new(items);
        if (promise_ == Promise::all && is_done_)
            check_is_there(items);
        add(wrong_items(request_, items, Strictness::all));
        add(wrong_order(request_, items, Strictness::all));
        try {
            check_rows(items);
        } catch (const std::exception& error) {
            problems_.emplace_back(error.what());
        }
    }

    void forgive_what_is_new(Snapshot& items) const
    {
        for (auto& [path, item] : items)
            if (const ItemState* wanted = find(request_.after.items, path);
                wanted && wanted->type == item.type && !request_.before.items.contains(path))
                item = *wanted;
    }

    void check_is_there(const Snapshot& items)
    {
        for (const auto& [path, item] : request_.after.items)
            if (const ItemState* now = find(items, path); !now || !now->alike(item))
                problems_.push_back(path + " was reported as done, but is " +
                                    (now ? described(*now) : "missing"));
    }

    /// What was moved may be back where it was, too; what was made may be gone.
    void check_rows(const Snapshot& items)
    {
        FaultCase request = request_;
        Rows rows = site_.rows();
        const auto forget = [&](const auto& is_forgotten) {
            for (Rows* of : {&request.before.rows, &request.after.rows, &rows})
                std::erase_if(*of, is_forgotten);
        };
        for (const auto& [from, to] : request_.moved)
            if (is_complete_at(to, request_.after.items, items, Strictness::all))
                forget([&](const auto& row) { return is_at_or_below("home/" + row.first, from); });
        if (request_.moved.empty())
            forget([&](const auto& row) { return !items.contains("home/" + row.first); });
        add(wrong_rows(request, rows, items));
    }

    void add(const Problems& more) { problems_.insert(problems_.end(), more.begin(), more.end()); }

    const FaultCase& request_;
    const Site& site_;
    const Promise promise_;
    const bool is_done_;
    Problems problems_;
};

} // namespace

bool is_like(const ItemState& one, const ItemState& other, Strictness strictness)
{
    return strictness == Strictness::all ? one.alike(other) : one.same_content(other);
}

std::vector<std::string> wrong_items(const FaultCase& request, const Snapshot& now,
                                     Strictness strictness)
{
    Problems problems;
    for (const std::string& path : all_paths(request.before.items, request.after.items, now)) {
        const std::string wrong =
            wrong_item(find(request.before.items, path), find(request.after.items, path),
                       find(now, path), strictness);
        if (!wrong.empty())
            problems.push_back(path + " " + wrong);
    }
    return problems;
}

std::vector<std::string> wrong_order(const FaultCase& request, const Snapshot& now,
                                     Strictness strictness)
{
    Problems problems;
    for (const auto& [from, to] : request.moved) {
        const bool has_come = is_complete_at(to, request.after.items, now, strictness);
        if (!has_come && now.contains(to) && !has_kept_replaced(request, now))
            problems.push_back(to + " is there in part");
        if (!has_come && !is_complete_at(from, request.before.items, now, strictness))
            problems.push_back(from + " is complete neither there nor at " + to);
    }
    return problems;
}

std::vector<std::string> wrong_after(const FaultCase& request, const Site& site, const Fault& fault,
                                     const Supervision& ending)
{
    return Check(request, site, fault, ending).run();
}

std::vector<std::string> wrong_after_power_cut(const FaultCase& request, const Site& site,
                                               Promise promise, bool is_done)
{
    return CutCheck(request, site, promise, is_done).run();
}

} // namespace orv::test
