#include "faults/FaultCases.hpp"

#include "faults/Archives.hpp"
#include "faults/Site.hpp"

#include <algorithm>

namespace orv::test {
namespace {

const std::string tree = "home/shelf/tree";
const std::string copy = "home/dest/tree";

std::string parent_of(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

/// The tree in its home, with items all around that nothing may happen to.
Scene surroundings()
{
    Scene scene;
    scene.items = {
        {"home/dest", folder()},
        {std::string("home/dest/") + living_hidden_file, file("being built by another process")},
        {"home/sentinel", folder()},
        {"home/sentinel/s", file("sentinel")},
        {"home/shelf", folder()},
        {"home/shelf/treetop", file("a name that begins alike")},
        {"outside/o", file("outside")},
    };
    put(scene.items, tree, sample_tree());
    scene.rows = {
        {"sentinel", "0|NULL|1|1"},      {"sentinel/s", "1|2|0|0"},
        {"shelf/tree", "0|NULL|1|1"},    {"shelf/tree/a.txt", "1|3|0|0"},
        {"shelf/tree/empty", "0|9|0|0"}, {"shelf/tree/sub/c.bin", "1|NULL|0|0"},
        {"shelf/treetop", "1|5|0|0"},
    };
    return scene;
}

/// The time of a folder is foretold by nobody once something in it has come or gone.
void forget_times_of_changed_folders(FaultCase& request)
{
    const auto forget_above = [&](const std::string& path) {
        for (Scene* scene : {&request.before, &request.after})
            if (const auto above = scene->items.find(parent_of(path)); above != scene->items.end())
                above->second.time.reset();
    };
    const Snapshot before = request.before.items;
    const Snapshot after = request.after.items;
    for (const auto& [path, item] : before)
        if (const auto now = after.find(path); now == after.end() || !now->second.alike(item))
            forget_above(path);
    for (const auto& [path, item] : after)
        if (!before.contains(path))
            forget_above(path);
}

/// Adds what a copy makes of the tree and its rows, leaving alone what exists.
void add_copy(Scene& scene)
{
    const Snapshot existing = scene.items;
    put(scene.items, copy, sample_tree());
    for (const auto& [path, item] : existing)
        scene.items[path] = item;
    const Rows rows = scene.rows;
    for (const auto& [key, row] : rows)
        if (is_at_or_below(key, "shelf/tree"))
            if (const std::string to = "dest" + key.substr(key.find('/'));
                !existing.contains("home/" + to))
                scene.rows[to] = row;
}

FaultCase finished(FaultCase request)
{
    forget_times_of_changed_folders(request);
    return request;
}

FaultCase copy_case()
{
    FaultCase request{
        .name = "copy",
        .arguments = {"cp", "@" + tree, "@home/dest", "--on-error", "stop"},
        .before = surroundings(),
        .after = surroundings(),
        .peers = {{"cp", "-r", "@" + tree, "@" + copy}, {"rsync", "-a", "@" + tree, "@home/dest"}}};
    add_copy(request.after);
    return finished(std::move(request));
}

/// What stands where the copy is to go.
Snapshot taken_place()
{
    return {{"", folder(0711)},
            {"a.txt", file("older")},
            {"own", file("only here")},
            {"sub", folder(0711)},
            {"sub/own", file("only here, too")}};
}

/// On file systems that lack more and more, files are built in other ways.
FaultCase lacking(FaultCase request, const Lacking& what, const std::string& name)
{
    request.name += name;
    request.lacking = what;
    request.step = std::max(request.step, 5L);
    request.peers.clear();
    return request;
}

FaultCase merge_case()
{
    FaultCase request{.name = "merge",
                      .arguments = {"cp", "@" + tree, "@home/dest", "--on-conflict", "merge",
                                    "--on-error", "stop"},
                      .before = surroundings(),
                      .peers = {{"cp", "-rnT", "@" + tree, "@" + copy},
                                {"rsync", "-a", "--ignore-existing", "@" + tree, "@home/dest"}}};
    put(request.before.items, copy, taken_place());
    request.before.rows["dest/tree/a.txt"] = "0|1|0|0";
    request.after = request.before;
    add_copy(request.after);
    return finished(std::move(request));
}

FaultCase replace_case()
{
    FaultCase request{.name = "replace",
                      .arguments = {"cp", "@" + tree, "@home/dest", "--on-conflict", "replace",
                                    "--on-error", "stop"},
                      .before = surroundings(),
                      .peers = {{"cp", "-rT", "--remove-destination", "@" + tree, "@" + copy},
                                {"rsync", "-a", "--delete", "@" + tree, "@home/dest"}}};
    request.after = request.before;
    add_copy(request.after);
    put(request.before.items, copy, taken_place());
    request.before.rows["dest/tree/a.txt"] = "0|1|0|0";
    request.replaced = copy;
    return finished(std::move(request));
}

/// A merge in which each file takes the place of its namesake.
FaultCase merge_that_replaces_case()
{
    FaultCase request = copy_case();
    request.name = "merge that replaces";
    request.arguments.emplace_back("-f");
    request.peers.clear();
    put(request.before.items, copy, taken_place());
    for (const auto& [path, item] : request.before.items)
        if (is_at_or_below(path, copy) &&
            (item.type == S_IFDIR || !request.after.items.contains(path))) {
            request.after.items[path] = item;
            request.after.rows.erase(path.substr(path.find('/') + 1));
        }
    return finished(std::move(request));
}

FaultCase copy_across_case()
{
    FaultCase request{.name = "copy to another volume",
                      .arguments = {"cp", "@" + tree, "@volume/tree", "--on-error", "stop"},
                      .before = surroundings(),
                      .needs_volume = true};
    std::erase_if(request.before.rows,
                  [](const auto& row) { return is_at_or_below(row.first, "shelf/tree"); });
    request.after = request.before;
    put(request.after.items, "volume/tree", sample_tree());
    return finished(std::move(request));
}

/// Moves what is to be moved, with the rows.
void move_items(FaultCase& request)
{
    Snapshot& items = request.after.items;
    Rows& rows = request.after.rows;
    for (const auto& [from, to] : request.moved) {
        for (const auto& [path, item] : request.before.items)
            if (is_at_or_below(path, from)) {
                items[to + path.substr(from.size())] = item;
                items.erase(path);
            }
        const std::string old_key = from.substr(from.find('/') + 1);
        const std::string new_key = to.substr(to.find('/') + 1);
        for (const auto& [key, row] : request.before.rows)
            if (is_at_or_below(key, old_key)) {
                rows[new_key + key.substr(old_key.size())] = row;
                rows.erase(key);
            }
    }
}

FaultCase move_case(const std::string& name, std::vector<std::string> arguments,
                    std::vector<std::pair<std::string, std::string>> moved)
{
    FaultCase request{.name = name,
                      .arguments = std::move(arguments),
                      .before = surroundings(),
                      .after = surroundings(),
                      .moved = std::move(moved)};
    move_items(request);
    return finished(std::move(request));
}

FaultCase rename_case()
{
    const std::string to = "home/shelf/trunk";
    FaultCase request = move_case("rename", {"rename", "@" + tree, "trunk"}, {{tree, to}});
    request.after.items[to].time.reset();
    return request;
}

FaultCase move_several_case()
{
    const std::string file = "home/shelf/treetop";
    return move_case("move of several", {"mv", "@" + tree, "@" + file, "@home/dest"},
                     {{tree, copy}, {file, "home/dest/treetop"}});
}

FaultCase move_across_case(const std::string& name, const std::string& below = {})
{
    const std::string from = tree + below;
    const std::string to = "home/disk/moved";
    FaultCase request = move_case(name, {"mv", "@" + from, "@" + to}, {{from, to}});
    request.needs_volume = true;
    request.peers = {{"mv", "@" + from, "@" + to}};
    return request;
}

FaultCase write_case()
{
    FaultCase request{.name = "write",
                      .arguments = {"write", "@home/dest/new"},
                      .before = surroundings(),
                      .after = surroundings(),
                      .input = pattern(250'000)};
    request.after.items["home/dest/new"] = file(request.input);
    request.after.items["home/dest/new"].time.reset();
    return finished(std::move(request));
}

FaultCase write_that_replaces_case()
{
    FaultCase request = write_case();
    request.name = "write that replaces";
    request.arguments.insert(request.arguments.end(), {"--on-conflict", "replace"});
    request.replaced = request.arguments[1].substr(1);
    request.before.items[request.replaced] = file("older", 0600);
    return finished(std::move(request));
}

/// The move `request` onto a place that is taken.
FaultCase replacing(FaultCase request, const Snapshot& taken)
{
    request.name += " that replaces";
    request.arguments.insert(request.arguments.end(), {"--on-conflict", "replace"});
    request.peers.clear();
    request.replaced = request.moved.front().second;
    put(request.before.items, request.replaced, taken);
    request.before.rows[request.replaced.substr(request.replaced.find('/') + 1) + "/a.txt"] =
        "0|1|0|0";
    return finished(std::move(request));
}

FaultCase move_across_that_replaces_case()
{
    FaultCase request = move_case("move to another volume", {"mv", "@" + tree, "@home/disk"},
                                  {{tree, "home/disk/tree"}});
    request.needs_volume = true;
    return replacing(std::move(request), taken_place());
}

/// `request` onto an item so large that its volume holds only one of the two.
FaultCase making_room(FaultCase request)
{
    request.name += " without room for both";
    request.tight_volume = "size=300k";
    request.step = 13;
    request.peers.clear();
    put(request.before.items, request.replaced, {{"", file(pattern(245'000))}});
    return finished(std::move(request));
}

FaultCase copy_across_making_room_case()
{
    FaultCase request = copy_across_case();
    request.replaced = "volume/tree";
    request.arguments = {"single request", "cp", "@" + tree, "@" + request.replaced};
    return making_room(std::move(request));
}

FaultCase move_across_making_room_case()
{
    FaultCase request = move_across_that_replaces_case();
    request.arguments = {"single request", "mv", "@" + tree, "@" + request.replaced};
    take_away(request.before.items, request.replaced);
    request.before.rows.erase("disk/tree/a.txt");
    request.before.rows["disk/tree"] = "0|1|0|0";
    return making_room(std::move(request));
}

FaultCase write_making_room_case()
{
    FaultCase request = write_case();
    request.arguments = {"write", "@volume/new", "--on-conflict", "replace"};
    request.replaced = "volume/new";
    request.needs_volume = true;
    request.after.items[request.replaced] = request.after.items["home/dest/new"];
    request.after.items.erase("home/dest/new");
    return making_room(std::move(request));
}

FaultCase delete_case()
{
    FaultCase request{.name = "delete",
                      .arguments = {"rm", "@" + tree},
                      .before = surroundings(),
                      .after = surroundings()};
    take_away(request.after.items, tree);
    std::erase_if(request.after.rows,
                  [](const auto& row) { return is_at_or_below(row.first, "shelf/tree"); });
    return finished(std::move(request));
}

const std::string trashed_tree = trashed_items + std::string("/tree");

/// The trash with the tree in it.
Scene surroundings_with_trash()
{
    FaultCase request{.name = "",
                      .arguments = {},
                      .before = surroundings(),
                      .after = surroundings(),
                      .moved = {{tree, trashed_tree}}};
    move_items(request);
    Scene scene = request.after;
    for (const char* made : {"home/.local", "home/.local/share", "home/.local/share/Trash",
                             trashed_items, trash_infos})
        scene.unwatched[made] = folder(0700);
    scene.unwatched[trash_infos + std::string("/tree.trashinfo")] =
        file("[Trash Info]\nPath=@/" + tree + "\nDeletionDate=2001-01-01T01:01:01\n");
    return scene;
}

FaultCase restore_case()
{
    FaultCase request{.name = "restore",
                      .arguments = {"trash", "--restore", "@" + tree},
                      .before = surroundings_with_trash(),
                      .moved = {{trashed_tree, tree}}};
    request.after = request.before;
    move_items(request);
    return finished(std::move(request));
}

FaultCase empty_trash_case()
{
    FaultCase request{.name = "empty the trash",
                      .arguments = {"trash", "--empty"},
                      .before = surroundings_with_trash()};
    request.after = surroundings();
    take_away(request.after.items, tree);
    std::erase_if(request.after.rows,
                  [](const auto& row) { return is_at_or_below(row.first, "shelf/tree"); });
    return finished(std::move(request));
}

/// `done` has been made, and is taken back: what it moved comes to the other places.
FaultCase undo_case(const std::string& name, const FaultCase& done,
                    const std::vector<std::pair<std::string, std::string>>& moved)
{
    FaultCase request{.name = name,
                      .arguments = {"undo"},
                      .before = done.after,
                      .after = done.after,
                      .first = done.arguments,
                      .start = done.before,
                      .moved = moved,
                      .step = 7};
    move_items(request);
    return finished(std::move(request));
}

FaultCase new_folder_case()
{
    FaultCase request{.name = "new folder",
                      .arguments = {"mkdir", "-p", "@home/dest/n/e/w"},
                      .before = surroundings(),
                      .after = surroundings()};
    for (const char* made : {"home/dest/n", "home/dest/n/e", "home/dest/n/e/w"}) {
        request.after.items[made] = folder();
        request.after.items[made].time.reset();
    }
    return finished(std::move(request));
}

FaultCase attributes_case()
{
    FaultCase request{
        .name = "attributes",
        .arguments = {"attr", "set", "@" + tree + "/a.txt", "--protected", "off", "--order", "8"},
        .before = surroundings(),
        .after = surroundings()};
    request.after.rows["shelf/tree/a.txt"] = "0|8|0|0";
    return request;
}

constexpr long step_of_archives = 9;

/// The sample tree without what no archive can hold.
Snapshot tree_to_pack()
{
    Snapshot items = sample_tree();
    items.erase("fifo");
    return items;
}

Scene surroundings_of_packing()
{
    Scene scene = surroundings();
    take_away(scene.items, tree);
    put(scene.items, tree, tree_to_pack());
    return scene;
}

FaultCase zip_case(const std::string& archive = "home/dest/a.zip")
{
    const std::string other = "home/shelf/treetop";
    FaultCase request{
        .name = "zip",
        .arguments = {"zip", "@" + archive, "@" + tree, "@" + other},
        .before = surroundings_of_packing(),
        .after = surroundings_of_packing(),
        .peers = {{"env", "-C", "@home/shelf", "zip", "-rqy", "@" + archive, "tree", "treetop"},
                  {"7z", "a", "-snl", "@" + archive, "@" + tree, "@" + other},
                  {"bsdtar", "-acf", "@" + archive, "-C", "@home/shelf", "tree", "treetop"}},
        .archive = MadeArchive{archive, {}},
        .step = step_of_archives};
    Snapshot content{{"treetop", request.before.items[other]}};
    put(content, "tree", tree_to_pack());
    request.archive->content = kept_by_archive(content);
    request.after.items[archive] = file("the archive");
    request.after.items[archive].time.reset();
    return finished(std::move(request));
}

FaultCase zip_that_replaces_case()
{
    FaultCase request = zip_case();
    request.name = "zip that replaces";
    request.peers.clear();
    request.arguments.insert(request.arguments.end(), {"--on-conflict", "replace"});
    request.before.items[request.archive->path] = file("an older archive", 0600);
    request.replaced = request.archive->path;
    return finished(std::move(request));
}

FaultCase zip_with_password_case()
{
    FaultCase request = zip_case();
    request.name = "zip with a password";
    request.peers.clear();
    request.arguments.insert(request.arguments.end(), {"--password-file", "@outside/o"});
    request.archive->password = request.before.items["outside/o"].content;
    return request;
}

FaultCase zip_across_case()
{
    FaultCase request = zip_case("volume/a.zip");
    request.name = "zip to another volume";
    request.needs_volume = true;
    return request;
}

FaultCase unzip_case()
{
    const std::string container = "home/dest/packed";
    Snapshot items;
    put(items, "tree", tree_to_pack());
    FaultCase request{.name = "unzip",
                      .arguments = {"unzip", "@home/shelf/packed.zip", "@home/dest"},
                      .before = surroundings(),
                      .peers = {{"unzip", "-q", "@home/shelf/packed.zip", "-d", "@" + container}},
                      .taken_back = container,
                      .step = step_of_archives};
    request.before.items["home/shelf/packed.zip"] = file(packed(items));
    request.after = request.before;
    request.after.items[container] = folder();
    request.after.items[container].time.reset();
    put(request.after.items, container + "/tree", kept_by_archive(tree_to_pack()));
    return finished(std::move(request));
}

} // namespace

const std::vector<FaultCase>& fault_cases()
{
    constexpr Lacking some{.unnamed_files = true};
    constexpr Lacking more{.unnamed_files = true, .renaming_with_flags = true};
    static const std::vector<FaultCase> cases{
        copy_case(),
        lacking(copy_case(), some, " by renaming"),
        lacking(copy_case(), more, " by linking"),
        merge_case(),
        merge_that_replaces_case(),
        replace_case(),
        lacking(replace_case(), more, " without flags"),
        copy_across_case(),
        lacking(copy_across_case(), some, " by renaming"),
        rename_case(),
        move_case("move", {"mv", "@" + tree, "@" + copy}, {{tree, copy}}),
        replacing(move_case("move", {"mv", "@" + tree, "@home/dest"}, {{tree, copy}}),
                  taken_place()),
        lacking(replacing(move_case("move", {"mv", "@" + tree, "@home/dest"}, {{tree, copy}}),
                          taken_place()),
                more, " without flags"),
        move_several_case(),
        write_case(),
        write_that_replaces_case(),
        move_across_case("move to another volume"),
        move_across_case("move of a file to another volume", "/sub/c.bin"),
        move_across_that_replaces_case(),
        copy_across_making_room_case(),
        move_across_making_room_case(),
        write_making_room_case(),
        delete_case(),
        move_case("trash", {"trash", "@" + tree, "@home/shelf/treetop"},
                  {{tree, trashed_tree},
                   {"home/shelf/treetop", std::string(trashed_items) + "/treetop"}}),
        restore_case(),
        empty_trash_case(),
        undo_case("undo of a copy", copy_case(), {{copy, trashed_tree}}),
        undo_case("undo of a move", move_case("", {"mv", "@" + tree, "@home/dest"}, {{tree, copy}}),
                  {{copy, tree}}),
        new_folder_case(),
        attributes_case(),
        zip_case(),
        lacking(zip_case(), some, " by renaming"),
        zip_that_replaces_case(),
        zip_with_password_case(),
        lacking(zip_across_case(), some, " by renaming"),
        unzip_case(),
        lacking(unzip_case(), some, " by renaming"),
        lacking(unzip_case(), more, " by linking")};
    return cases;
}

const FaultCase& fault_case(const std::string& name)
{
    return *std::ranges::find(fault_cases(), name, &FaultCase::name);
}

} // namespace orv::test
