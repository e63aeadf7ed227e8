#include "faults/ChangedUnderneath.hpp"

#include "faults/Checker.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

const std::string mine = "made by another program";
const std::string source_file = "/home/shelf/tree/big";
constexpr std::size_t shrunk_size = 40'000;
constexpr std::size_t grown_size = 180'000;

void shrink(const std::string& root)
{
    std::error_code none;
    fs::resize_file(root + source_file, shrunk_size, none);
}

void grow(const std::string& root)
{
    if (fs::exists(root + source_file))
        std::ofstream(root + source_file, std::ios::binary) << pattern(grown_size);
}

void vanish(const std::string& root)
{
    fs::remove(root + source_file);
}

void become_fifo(const std::string& root)
{
    fs::remove(root + source_file);
    ::mkfifo((root + source_file).c_str(), 0600);
}

/// Another program writes a file anew that is being moved. One that is about to go, since its copy
/// is in place, may be lost with what is written into it in its last moment.
void overwrite(const std::string& root)
{
    if (fs::exists(root + source_file) && !fs::exists(root + "/home/disk/moved"))
        std::ofstream(root + source_file, std::ios::binary) << mine;
}

/// Another program creates the file `place`, unless something stands there.
std::function<void(const std::string&)> create(const std::string& place)
{
    return [place](const std::string& root) {
        const int file = ::open((root + place).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (file < 0)
            return;
        (void)!::write(file, mine.data(), mine.size());
        ::close(file);
    };
}

/// The same in the folder that takes the place of a replaced one, which has another mode.
void create_after_replace(const std::string& root)
{
    const fs::path folder = root + "/home/dest/tree";
    if (fs::exists(folder) && fs::status(folder).permissions() == fs::perms::owner_all)
        create("/home/dest/tree/big")(root);
}

/// Moves the folder `place` away and puts a link to the outside in its place.
std::function<void(const std::string&)> swap_for_link(const std::string& place)
{
    return [place](const std::string& root) {
        std::error_code none;
        fs::rename(root + place, root + place + ".away", none);
        fs::create_symlink(root + "/outside", root + place, none);
    };
}

/// Whether `content` is all that an item of that name holds in the scenes or by the change.
bool is_whole(const FaultCase& request, const std::string& path, const std::string& content)
{
    const auto name_of = [](const std::string& item) { return item.substr(item.rfind('/') + 1); };
    const std::string name = name_of(path);
    if (name == "big" && content.size() >= shrunk_size)
        return pattern(grown_size).starts_with(content);
    if (content == mine)
        return true;
    for (const Scene* scene : {&request.before, &request.after})
        for (const auto& [other, item] : scene->items)
            if (name_of(other) == name && !other.starts_with("outside/") && item.content == content)
                return true;
    return false;
}

std::vector<std::string> wrong_files(const FaultCase& request, const Snapshot& now)
{
    std::vector<std::string> problems;
    for (const auto& [path, item] : now)
        if (S_ISREG(item.type) && !path.starts_with("outside/") &&
            !is_whole(request, path, item.content))
            problems.push_back(path + " is neither whole nor known: " + described(item));
    return problems;
}

bool is_changed_by(const Change& change, const std::string& path)
{
    return std::ranges::any_of(change.changed, [&](const std::string& place) {
        return is_at_or_below(path, place) || is_at_or_below(path, place + ".away");
    });
}

/// The problems among the items that the change leaves alone.
std::vector<std::string> wrong_elsewhere(const Change& change, const FaultCase& request,
                                         Snapshot now)
{
    FaultCase rest = request;
    const auto forget = [&](Snapshot& items) {
        std::erase_if(items, [&](const auto& entry) { return is_changed_by(change, entry.first); });
        for (auto& [path, item] : items)
            if (S_ISDIR(item.type) && !path.starts_with("outside"))
                item.time.reset();
    };
    forget(rest.before.items);
    forget(rest.after.items);
    forget(now);
    return wrong_items(rest, now);
}

/// Whether what another program has made is still where it was; a move may have taken it along.
bool holds_made(const Change& change, const FaultCase& request, const Snapshot& now,
                const std::string& made)
{
    const auto is_made_at = [&](const std::string& path) {
        const auto found = now.find(path);
        return found != now.end() && found->second.content == mine;
    };
    return is_made_at(made) ||
           (!request.moved.empty() && std::ranges::any_of(change.changed, is_made_at));
}

std::vector<std::string> wrong_after_change(const Change& change, const FaultCase& request,
                                            const Site& site, const Supervision& ending,
                                            const std::string& made_in_time)
{
    std::vector<std::string> problems;
    if (ending.hung || (ending.exit_code != 0 && ending.exit_code != 1))
        problems.push_back("it hung, or ended by signal " + std::to_string(ending.signal));
    if (!site.start_again() || site.unfinished() != Site::unfinished_of_living())
        problems.emplace_back("unfinished files are left");
    const Snapshot now = site.items();
    for (const auto& wrong : {wrong_files(request, now), wrong_elsewhere(change, request, now)})
        problems.insert(problems.end(), wrong.begin(), wrong.end());
    if (!made_in_time.empty() && !holds_made(change, request, now, made_in_time))
        problems.push_back(made_in_time + " of another program was lost");
    return problems;
}

/// The path of the file that another program has made, relative to the root; empty for none.
std::string file_made(const Change& change, const Site& site)
{
    for (const std::string& path : change.changed) {
        const Url url = site.root().appending(path);
        if (fs::is_regular_file(fs::symlink_status(url)) && read_file(url) == mine)
            return path;
    }
    return {};
}

Trial try_change(const Change& change, const FaultCase& request, Site& site, long at)
{
    site.reset();
    std::string made;
    const Fault fault{.kind = Fault::Kind::pause,
                      .at = at,
                      .hook =
                          [&] {
                              change.make(site.root().path());
                              made = file_made(change, site);
                          },
                      .only = change.only};
    const Supervision ending = site.run(request.arguments, fault);
    return {!ending.hit.empty(), ending.hit,
            wrong_after_change(change, request, site, ending, made)};
}

} // namespace

const std::vector<Change>& changes()
{
    const std::string source = "home/shelf/tree/big";
    const std::string copy = "home/dest/tree";
    const std::string moved = "home/disk/moved";
    const std::string across = "move to another volume";
    // Until then a link is one that the user has chosen.
    const std::string once_begun = "/home/(shelf|dest)";
    static const std::vector<Change> all{
        {"source_shrinks", "copy", shrink, {source, copy + "/big"}},
        {"source_grows", "copy", grow, {source, copy + "/big"}},
        {"source_vanishes", "copy", vanish, {source, copy + "/big"}},
        {"source_becomes_a_fifo", "copy", become_fifo, {source, copy + "/big"}},
        {"source_folder_becomes_a_link",
         "copy",
         swap_for_link("/home/shelf/tree/sub"),
         {"home/shelf/tree/sub", copy + "/sub"}},
        {"destination_appears", "copy", create("/home/dest/tree"), {copy}},
        {"file_appears_in_the_copy", "copy", create("/home/dest/tree/big"), {copy + "/big"}},
        {"file_appears_before_a_rename",
         "copy by renaming",
         create("/home/dest/tree/big"),
         {copy + "/big"}},
        {"file_appears_before_a_link",
         "copy by linking",
         create("/home/dest/tree/big"),
         {copy + "/big"}},
        {"file_appears_in_a_merge", "merge", create("/home/dest/tree/big"), {copy + "/big"}},
        {"file_appears_after_a_replace", "replace", create_after_replace, {copy + "/big"}},
        {"copy_becomes_a_link", "copy", swap_for_link("/home/dest/tree"), {copy}},
        {"folder_of_the_copy_becomes_a_link",
         "copy",
         swap_for_link("/home/dest/tree/sub"),
         {copy + "/sub"}},
        {"folder_of_a_merge_becomes_a_link",
         "merge",
         swap_for_link("/home/dest/tree/sub"),
         {copy + "/sub"}},
        {"file_of_a_move_is_changed", across, overwrite, {source, moved + "/big"}},
        {"file_appears_in_a_move",
         across,
         create("/home/shelf/tree/sub/new"),
         {"home/shelf/tree/sub/new", moved + "/sub/new"}},
        {"destination_of_a_move_appears", across, create("/home/disk/moved"), {moved}},
        {"folder_of_a_move_becomes_a_link",
         across,
         swap_for_link("/home/shelf/tree/sub"),
         {"home/shelf/tree/sub", moved + "/sub"}},
        {"folder_being_deleted_becomes_a_link",
         "delete",
         swap_for_link("/home/shelf/tree/sub"),
         {"home/shelf/tree/sub"}},
        {"folder_of_a_new_copy_becomes_a_link",
         "copy",
         swap_for_link("/home/dest"),
         {"home/dest"},
         once_begun},
        {"folder_of_a_copy_that_replaces_becomes_a_link",
         "replace",
         swap_for_link("/home/dest"),
         {"home/dest"},
         once_begun},
        {"folder_of_a_moved_copy_becomes_a_link",
         "move",
         swap_for_link("/home/dest"),
         {"home/dest", "home/shelf/tree"},
         once_begun,
         Lacking{.renaming_between_folders = true}},
        {"folder_of_a_move_that_replaces_becomes_a_link",
         "move that replaces",
         swap_for_link("/home/dest"),
         {"home/dest", "home/shelf/tree"},
         once_begun,
         Lacking{.renaming_between_folders = true}},
        {"folder_of_a_move_becomes_a_link_within_a_volume",
         "move",
         swap_for_link("/home/dest"),
         {"home/dest", "home/shelf/tree"},
         once_begun},
        {"folder_of_new_folders_becomes_a_link",
         "new folder",
         swap_for_link("/home/dest/n"),
         {"home/dest"},
         once_begun},
        {"folder_of_a_written_file_becomes_a_link",
         "write that replaces",
         swap_for_link("/home/dest"),
         {"home/dest"},
         once_begun},
        {"folder_being_replaced_becomes_a_link",
         "replace",
         swap_for_link("/home/dest/tree/sub"),
         {copy + "/sub"}},
    };
    return all;
}

Tally sweep(const Change& change, long step)
{
    const FaultCase& request = fault_case(change.request);
    const auto make_trial = [&]() -> std::function<Trial(long)> {
        const auto place = std::make_shared<SiteOfCase>(request);
        if (change.lacking)
            place->site.lack(*change.lacking);
        return [&, place](long at) { return try_change(change, request, place->site, at); };
    };
    return sweep(make_trial, step);
}

} // namespace orv::test
