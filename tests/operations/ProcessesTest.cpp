#include "files/Note.hpp"
#include "support/Child.hpp"
#include "support/Engine.hpp"
#include "utility/Uuid.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// The arguments of a process that works on its own in `root`.
Texts engine(const Url& root, Texts arguments)
{
    arguments.insert(arguments.begin(), {ORV_ENGINE_CHILD, root.path()});
    return arguments;
}

struct ForbiddenCase {
    std::string name;
    Texts before;
    std::string forbidden; ///< the item that is without rights
    mode_t mode;
    Texts command; ///< its arguments are names
    std::string line;
    Texts after;
};

const std::string denied = "error: Permission denied. 13 ";

const ForbiddenCase forbidden_cases[] = {
    {"a file that cannot be read",
     {"a/b=1"},
     "a/b",
     0,
     {"copy", "a", "z"},
     denied + "@a/b",
     {"a/", "a/b=1", "z/"}},
    {"a folder that cannot be read",
     {"a/k/b=1"},
     "a/k",
     0,
     {"copy", "a", "z"},
     denied + "@a/k",
     {"a/", "a/k/", "a/k/b=1", "z/", "z/k/"}},
    {"a source that cannot be read",
     {"a/b=1"},
     "a",
     0,
     {"copy", "a", "z"},
     denied + "@a",
     {"a/", "a/b=1"}},
    {"a destination that cannot be changed",
     {"a=1", "d/"},
     "d",
     0555,
     {"copy", "a", "d/z"},
     "error: Couldn't create destination file. 13 @d",
     {"a=1", "d/"}},
    {"a destination that no folder can be put into",
     {"a/b=1", "d/"},
     "d",
     0555,
     {"copy", "a", "d/z"},
     "error: Couldn't create destination directory. 13 @d/z",
     {"a/", "a/b=1", "d/"}},
    {"a folder that can only be read is copied with what is in it",
     {"a/k/b=1"},
     "a/k",
     0555,
     {"copy", "a", "z"},
     "success",
     {"a/", "a/k/", "a/k/b=1", "z/", "z/k/", "z/k/b=1"}},
    {"measuring passes over what cannot be read",
     {"a/b=1", "a/k/c=22"},
     "a/k",
     0,
     {"size", "a"},
     "success 1",
     {"a/", "a/b=1", "a/k/", "a/k/c=22"}},
    {"measuring what cannot be read",
     {"a/b=1"},
     "a",
     0,
     {"size", "a"},
     "error: Couldn't create directory enumerator. 13 @a",
     {"a/", "a/b=1"}},
    {"listing passes over what cannot be read",
     {"a/k/c=22"},
     "a/k",
     0,
     {"list", "a"},
     "success k",
     {"a/", "a/k/", "a/k/c=22"}},
    {"listing what cannot be read",
     {"a/b=1"},
     "a",
     0,
     {"list", "a"},
     "error: Couldn't create directory enumerator. 13 @a",
     {"a/", "a/b=1"}},
    {"what passes over a folder tells so",
     {"a/k/b=1", "a/c=22"},
     "a/k",
     0,
     {"left-out", "a"},
     "13 k, 13 k, 13 k, ",
     {"a/", "a/c=22", "a/k/", "a/k/b=1"}},
    {"deleting from a folder that cannot be changed",
     {"a/k/b=1"},
     "a/k",
     0555,
     {"delete", "a"},
     "error: Couldn't delete the item. 13 @a/k/b",
     {"a/", "a/k/", "a/k/b=1"}},
};

class ProcessesTest : public EngineTest {};

TEST_F(ProcessesTest, what_its_user_may_not_do_ends_a_request_with_the_platforms_reason)
{
    const bool is_root = ::geteuid() == 0;
    const Scratch scratch;
    const Url& root = scratch.url();
    make_tree(root, {"home/", "support/", "tmp/"});
    fs::permissions(root, fs::perms::others_all, fs::perm_options::add);
    for (const ForbiddenCase& row : forbidden_cases) {
        SCOPED_TRACE(row.name);
        const Url home = root.appending("home");
        make_tree(home, row.before);
        const Url forbidden = home.appending(row.forbidden);
        ::chmod(forbidden.path().c_str(), row.mode);
        if (is_root) {
            for (const char* name : {"home", "support", "tmp"})
                EXPECT_EQ(::chown(root.appending(name).path().c_str(), 65534, 65534), 0);
            for (const auto& item : fs::recursive_directory_iterator(root))
                EXPECT_EQ(::lchown(item.path().c_str(), 65534, 65534), 0);
        }
        Texts arguments = row.command;
        for (auto name = arguments.begin() + 1; name != arguments.end(); ++name)
            *name = home.appending(*name).path();
        if (is_root)
            arguments.insert(arguments.begin(), "nobody");

        std::string line = Child(engine(root, arguments)).read_line();
        if (const auto start = line.find(home.path()); start != std::string::npos)
            line.replace(start, home.path().size() + 1, "@");
        EXPECT_EQ(line, row.line);
        for (const Url& item : {forbidden, home.appending("z/k")})
            if (manager().is_directory(item))
                ::chmod(item.path().c_str(), 0700);
        ::chmod(forbidden.path().c_str(), 0700);
        EXPECT_EQ(tree(home), row.after);
        EXPECT_EQ(tree(root.appending("tmp")), Texts{"__orv_proc_files__/"});
        fs::remove_all(home);
    }
}

bool is_on_volume_of(const Scratch& scratch, const char* folder)
{
    struct stat one {};
    struct stat other {};
    return ::stat(scratch.url().path().c_str(), &one) == 0 && ::stat(folder, &other) == 0 &&
           one.st_dev == other.st_dev;
}

TEST_F(ProcessesTest, what_a_killed_process_was_building_goes_at_the_next_start)
{
    const Scratch scratch;
    const bool has_memory =
        ::access("/dev/shm", W_OK) == 0 && !is_on_volume_of(scratch, "/dev/shm");
    const Scratch elsewhere(has_memory ? "/dev/shm" : "");
    const Url home = scratch / "home";
    const Url built = scratch / "tmp/__orv_proc_files__";
    make_tree(home, {});
    const auto building = [&](const Url& in) {
        return engine(scratch.url(), {"build-without-end", in.path()});
    };
    const auto start = [&] { return Child(engine(scratch.url(), {"start"})).read_line(); };

    Child living(building(home));
    Child dying(building(home));
    Child dying_elsewhere(building(elsewhere.url()));
    for (Child* child : {&living, &dying, &dying_elsewhere})
        EXPECT_EQ(child->read_line(), "building");
    EXPECT_EQ(start(), "started");
    EXPECT_EQ(tree(built).size(), 3U);
    EXPECT_EQ(tree(elsewhere.url()).size(), has_memory ? 1U : 0U);

    dying.kill();
    dying_elsewhere.kill();
    EXPECT_EQ(start(), "started");
    EXPECT_EQ(tree(built).size(), 1U);
    EXPECT_EQ(tree(elsewhere.url()), Texts{});

    living.kill();
    EXPECT_EQ(start(), "started");
    EXPECT_EQ(tree(built), Texts{});
    EXPECT_EQ(tree(home), Texts{});
}

TEST_F(ProcessesTest, one_that_is_killed_in_the_middle_of_a_file_leaves_no_part_of_it)
{
    const Scratch scratch;
    const Url source = scratch / "home/source";
    write_file(source, std::string(std::size_t{20} * 102'400, 'x'));
    Child dying(
        engine(scratch.url(), {"slow-single-copy", source.path(), (scratch / "home/copy").path()}));
    dying.read_line(); // the start
    EXPECT_TRUE(dying.read_line().starts_with("progress "));
    dying.kill();
    EXPECT_EQ(Child(engine(scratch.url(), {"start"})).read_line(), "started");
    EXPECT_EQ(tree(scratch / "home").size(), 1U);
    EXPECT_EQ(tree(scratch / "tmp/__orv_proc_files__"), Texts{});
}

TEST_F(ProcessesTest, a_start_removes_nothing_but_leftovers)
{
    const Scratch scratch;
    const std::string uuid = new_uuid();
    const std::string hidden = "." + uuid + ".orvresume";
    make_tree(scratch.url(), {"home/victim=1", "home/" + hidden + "=2", "home/.other.orvresume=3"});
    const Url home = scratch / "home";
    make_tree(
        scratch / "tmp/__orv_proc_files__",
        {"mine.txt=1", "mine.note=2", new_uuid() + "=partial",
         new_uuid() + ".note=" + home.appending("victim").path(),
         new_uuid() + ".note=" + home.appending(".other.orvresume").path(),
         new_uuid() + ".note=", new_uuid() + ".note=" + home.appending("gone/" + hidden).path(),
         uuid + ".note=" + home.appending(hidden).path()});
    EXPECT_EQ(Child(engine(scratch.url(), {"start"})).read_line(), "started");
    EXPECT_EQ(tree(scratch / "tmp/__orv_proc_files__"), (Texts{"mine.note=2", "mine.txt=1"}));
    EXPECT_EQ(tree(home), (Texts{".other.orvresume=3", "victim=1"}));
}

struct AsideCase {
    std::string name;
    std::string original; ///< as the note has it
    Texts before;         ///< beside the item set aside
    Texts after;
    std::string folder = "home"; ///< that the note names
    bool is_replacement = false; ///< the item of the original name is the expected one
    bool keeps_note = false;
};

const AsideCase aside_cases[] = {
    {"the name is free", "a", {}, {"a=old"}},
    {"the replacement has the name", "a", {"a=new"}, {"a=new"}, "home", true},
    {"a stranger has the name", "a", {"a=new"}, {"a 2=old", "a=new"}},
    {"the name leads elsewhere", "../a", {}, {"@=old"}},
    {"the folder was renamed", "a", {}, {"@=old"}, "renamed", false, true},
};

TEST_F(ProcessesTest, an_item_that_was_set_aside_is_put_back_or_was_replaced)
{
    for (const AsideCase& row : aside_cases) {
        SCOPED_TRACE(row.name);
        const Scratch scratch;
        const std::string uuid = new_uuid();
        const std::string hidden = "." + uuid + ".orvresume";
        make_tree(scratch / "home", {hidden + "=old"});
        make_tree(scratch / "home", row.before);
        struct stat taken {};
        ::stat((scratch / "home/a").path().c_str(), &taken);
        const Note note{(scratch / row.folder).appending(hidden),
                        row.original,
                        std::to_string(row.is_replacement ? taken.st_ino : 0),
                        {}};
        make_tree(scratch / "tmp/__orv_proc_files__", {});
        write_file((scratch / "tmp/__orv_proc_files__").appending(uuid + ".note"), note.text());
        EXPECT_EQ(Child(engine(scratch.url(), {"start"})).read_line(), "started");
        Texts after = row.after;
        for (std::string& text : after)
            if (text.starts_with('@'))
                text.replace(0, 1, hidden);
        EXPECT_EQ(tree(scratch / "home"), after);
        EXPECT_EQ(tree(scratch / "tmp/__orv_proc_files__").size(), row.keeps_note ? 1U : 0U);
    }
}

TEST_F(ProcessesTest, two_of_them_share_one_database)
{
    constexpr int count = 60;
    Child other(engine(root(), {"save", at("theirs").path(), std::to_string(count)}));
    for (int i = 0; i < count; ++i)
        save_all({{.url = at("mine" + std::to_string(i)), .order_no = i}}, false);
    EXPECT_EQ(other.read_line(), "saved");
    for (int i = 0; i < count; ++i)
        for (const char* name : {"mine", "theirs"}) {
            const auto attributes = CustomAttributes::fetch(at(name + std::to_string(i)));
            ASSERT_TRUE(attributes) << name << i;
            EXPECT_EQ(attributes->order_no, i);
        }
}

TEST_F(ProcessesTest, one_without_a_folder_to_build_files_in_says_so_and_works)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"home/", "tmp=in the way"});
    Texts with_errors = engine(scratch.url(), {"start"});
    with_errors.insert(with_errors.begin(), {"/bin/sh", "-c", "exec \"$@\" 2>&1 >&-", "sh"});
    Child child(with_errors);
    EXPECT_EQ(child.read_line(), "⚠️ Couldn't create 'processed files' directory when "
                                 "initializing `OrvFileManager`");
    EXPECT_EQ(child.read_line(), "");
    EXPECT_EQ(Child(engine(scratch.url(), {"start"})).read_line(), "started");
}

} // namespace
} // namespace orv::test
