#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"
#include "support/Volume.hpp"
#include "trash/TrashInfo.hpp"

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const std::string own_trash = ".Trash-" + std::to_string(::getuid());

class TrashTest : public EngineTest {
protected:
    TrashTest() { fs::remove_all(trash()); }

    static Url trash() { return root().appending("Trash"); }

    MoveToTrashOperation::Status trashed(const std::vector<Url>& urls)
    {
        return statuses_of<MoveToTrashOperation>(
                   [&](auto take) { return manager().move_to_trash(urls, take); })
            .back();
    }

    std::vector<TrashedItem> listed()
    {
        const auto status = statuses_of<FetchTrashedOperation>([&](auto take) {
                                return manager().fetch_trashed_items(take);
                            }).back();
        return std::get<FetchTrashedOperation::success>(status).items;
    }

    Texts restored(const std::vector<TrashedItem>& items,
                   ConflictBehaviour behaviour = ConflictBehaviour::stop)
    {
        return texts_of(statuses_of<RestoreOperation>([&](RestoreOperation::StatusClosure take) {
            return manager().restore(items, [take, behaviour](const auto& status) {
                take(status);
                answer(status, behaviour);
            });
        }));
    }

    std::string emptied(std::optional<std::chrono::seconds> older_than = {})
    {
        return text_of(statuses_of<EmptyTrashOperation>([&](auto take) {
                           return manager().empty_trash(older_than, take);
                       }).back());
    }
};

TEST_F(TrashTest, items_go_with_their_rows_and_come_back)
{
    make_tree(folder(), {"a=1", "d/e/x=2", "l->nowhere"});
    store_rows(folder(), {"a", "d/e/x"});
    fs::permissions(at("d/e/x"), fs::perms::owner_read);
    EXPECT_EQ(text_of(trashed({at("a"), at("d"), at("l")})), "success a d l");
    EXPECT_EQ(tree(folder()), Texts{});
    EXPECT_EQ(tree(trash().appending("files")),
              (Texts{"a=1", "d/", "d/e/", "d/e/x=2", "l->nowhere"}));
    EXPECT_EQ(stored_rows(trash().appending("files")), (Texts{"a", "d/e/x"}));
    EXPECT_EQ(stored_rows(folder()), Texts{});

    fs::remove_all(folder()); // the folders above are made again
    const auto items = listed();
    EXPECT_EQ(restored(items), Texts{"success a d l"});
    EXPECT_EQ(tree(folder()), (Texts{"a=1", "d/", "d/e/", "d/e/x=2", "l->nowhere"}));
    EXPECT_EQ(stored_rows(folder()), (Texts{"a", "d/e/x"}));
    EXPECT_EQ(tree(trash().appending("info")), Texts{});
    EXPECT_EQ(restored({items.front()}), Texts{"error: The item isn't in the trash any more."});
}

TEST_F(TrashTest, items_of_one_name_get_names_of_their_own)
{
    const std::string longest = std::string(251, 'n') + ".txt";
    make_tree(folder(), {"a/x.txt=1", "b/x.txt=2", longest + "=3"});
    EXPECT_EQ(text_of(trashed({at("a/x.txt"), at("b/x.txt"), at(longest)})),
              "success x.txt x.txt " + longest);
    EXPECT_EQ(tree(trash().appending("files")),
              (Texts{std::string(229, 'n') + ".txt=3", "x 2.txt=2", "x.txt=1"}));
    EXPECT_EQ(restored(listed()).back().substr(0, 7), "success");
    EXPECT_EQ(tree(folder()), (Texts{"a/", "a/x.txt=1", "b/", "b/x.txt=2", longest + "=3"}));
}

TEST_F(TrashTest, a_row_of_an_item_that_was_emptied_elsewhere_is_not_inherited)
{
    make_tree(folder(), {"a=1"});
    store_rows(folder(), {"a"});
    trashed({at("a")});
    fs::remove(trash().appending("files/a")); // by another program
    fs::remove(trash().appending("info/a.trashinfo"));
    make_tree(folder(), {"a=2"});
    trashed({at("a")});
    restored(listed());
    EXPECT_EQ(stored_rows(folder()), Texts{});
}

struct RefusalCase {
    const char* name;
    std::string what; ///< below the test's folder, or an absolute path
    std::string end;
};

TEST_F(TrashTest, refuses_before_anything_happens)
{
    make_tree(folder(), {"a=1"});
    make_tree(trash(), {"files/old=1", "info/"});
    const std::string cannot = "error: ";
    const RefusalCase cases[] = {
        {"missing", "b", cannot + "Couldn't move the item to the trash, because it doesn't exist."},
        {"root", "/", cannot + "Given url points to root directory."},
        {"in the trash", trash().path() + "/files/old",
         cannot + "The item is in the trash already."},
        {"a volume", "/proc", cannot + "A volume can't be moved to the trash."},
        {"around the trash", root().path(),
         cannot + "The item can't be moved to the trash, because the trash lies in it."},
        {"no trash possible", "/proc/self/status",
         cannot + "The volume has no trash, and none can be made there."},
    };
    for (const RefusalCase& row : cases) {
        SCOPED_TRACE(row.name);
        const Url url = row.what.starts_with('/') ? Url(row.what) : at(row.what);
        EXPECT_EQ(text_of(trashed({at("a"), url})), row.end);
        EXPECT_EQ(tree(folder()), Texts{"a=1"});
    }
}

TEST_F(TrashTest, does_not_use_a_home_trash_that_is_no_folder_of_the_user)
{
    make_tree(folder(), {"a=1", "elsewhere/"});
    const auto refused = [&](const char* reason) {
        EXPECT_EQ(text_of(trashed({at("a")})),
                  std::string("error: The trash folder isn't used, because ") + reason + ".");
        fs::remove_all(trash());
    };
    fs::create_directory_symlink(at("elsewhere"), trash());
    refused("it is a symbolic link");
    write_file(trash(), "");
    refused("it is no folder");
    fs::create_directories(trash());
    fs::create_directory_symlink(at("elsewhere"), trash().appending("files"));
    refused("it is a symbolic link");
    if (::getuid() == 0) {
        fs::create_directory(trash());
        ASSERT_EQ(::chown(trash().path().c_str(), 4711, 4711), 0);
        refused("it belongs to another user");
    }
    EXPECT_EQ(tree(folder()), (Texts{"a=1", "elsewhere/"}));
}

/// What stands as ".Trash" on the volume, and where an item goes then.
struct SharedCase {
    const char* name;
    void (*make)(const Url& shared);
    std::string used;
    std::size_t complaints;
};

const SharedCase shared_cases[] = {
    {"none", [](const Url&) {}, own_trash, 0},
    {"sticky",
     [](const Url& shared) {
         fs::create_directory(shared);
         ::chmod(shared.path().c_str(), 01777);
     },
     ".Trash/" + std::to_string(::getuid()), 0},
    {"not sticky",
     [](const Url& shared) {
         fs::create_directory(shared);
         ::chmod(shared.path().c_str(), 0777);
     },
     own_trash, 1},
    {"a link",
     [](const Url& shared) {
         fs::create_directory(shared.path() + " elsewhere");
         ::chmod((shared.path() + " elsewhere").c_str(), 01777);
         fs::create_directory_symlink(shared.path() + " elsewhere", shared);
     },
     own_trash, 1},
};

TEST_F(TrashTest, an_item_of_another_volume_stays_on_it)
{
    for (const SharedCase& row : shared_cases) {
        SCOPED_TRACE(row.name);
        const auto volume = Volume::in_memory(1024);
        if (!volume)
            GTEST_SKIP() << "this user may mount nothing";
        row.make(volume->url().appending(".Trash"));
        make_tree(volume->url(), {"d/a b=1"});
        const auto status = trashed({volume->url().appending("d/a b")});
        const auto& done = std::get<MoveToTrashOperation::success>(status);
        EXPECT_EQ(done.unused.size(), row.complaints);
        const Url used = volume->url().appending(row.used);
        EXPECT_EQ(done.items.front().url, used.appending("files/a b"));
        EXPECT_EQ(fs::status(used).permissions(), fs::perms::owner_all);
        EXPECT_NE(read_file(used.appending("info/a b.trashinfo")).find("\nPath=d/a%20b\n"),
                  std::string::npos);
        EXPECT_EQ(restored(listed()), Texts{"success a b"});
        EXPECT_EQ(read_file(volume->url().appending("d/a b")), "1");
    }
}

TEST_F(TrashTest, an_item_of_a_second_mount_of_the_home_s_device_stays_on_it)
{
    const auto volume = Volume::bound();
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    make_tree(volume->url(), {"a=1"});
    EXPECT_EQ(text_of(trashed({volume->url().appending("a")})), "success a");
    EXPECT_EQ(tree(trash().appending("info")), Texts{});
    EXPECT_EQ(read_file(volume->url().appending(own_trash + "/files/a")), "1");
}

struct TakenCase {
    ConflictBehaviour answer;
    Texts statuses;
    Texts after;
};

TEST_F(TrashTest, a_restore_asks_about_a_taken_name)
{
    const TakenCase cases[] = {
        {ConflictBehaviour::keep_both, {"conflict a", "success a 2"}, {"a 2=1", "a=2"}},
        {ConflictBehaviour::replace, {"conflict a", "success a"}, {"a=1"}},
        {ConflictBehaviour::merge, {"conflict a", "error: Couldn't move the item"}, {"a=2"}},
        {ConflictBehaviour::stop, {"conflict a", "cancelled"}, {"a=2"}},
    };
    for (const TakenCase& row : cases) {
        make_tree(folder(), {"a=1"});
        trashed({at("a")});
        make_tree(folder(), {"a=2"});
        EXPECT_EQ(restored(listed(), row.answer), row.statuses);
        EXPECT_EQ(tree(folder()), row.after);
        const bool has_left = row.statuses.back().starts_with("success");
        EXPECT_EQ(listed().size(), has_left ? 0U : 1U);
        fs::remove_all(trash());
        fs::remove_all(folder());
    }
}

TEST_F(TrashTest, emptying_deletes_for_good_all_or_what_is_old)
{
    make_tree(trash(), {"files/old=1", "files/d/e/x=2", "files/undated=3", "files/orphan=4",
                        "files/new=5", "info/stray.trashinfo=", "info/gone.trashinfo="});
    const auto tell = [&](const char* name, const std::string& date) {
        write_file(trash().appending("info").appending(std::string(name) + ".trashinfo"),
                   "[Trash Info]\nPath=/x\n" + date);
    };
    tell("old", "DeletionDate=2001-01-01T00:00:00\n");
    tell("d", "DeletionDate=2001-01-01T00:00:00\r\n");
    tell("undated", "");
    tell("new", "DeletionDate=2101-01-01T00:00:00\n");
    fs::last_write_time(trash().appending("info/stray.trashinfo"), fs::file_time_type::min());
    store_rows(trash().appending("files"), {"d/e/x"});
    fs::permissions(trash().appending("files/d/e"), fs::perms::owner_read);

    EXPECT_EQ(emptied(std::chrono::days(7)), "success 2");
    EXPECT_EQ(tree(trash().appending("files")), (Texts{"new=5", "orphan=4", "undated=3"}));
    EXPECT_EQ(stored_rows(trash().appending("files")), Texts{});
    EXPECT_FALSE(fs::exists(trash().appending("info/stray.trashinfo")));
    EXPECT_EQ(emptied(), "success 3");
    // What was just written may be of an item that is on its way.
    EXPECT_EQ(tree(trash()), (Texts{"files/", "info/", "info/gone.trashinfo="}));
}

TEST_F(TrashTest, sizes_of_folders_are_kept_where_other_programs_find_them)
{
    make_tree(folder(), {"a b/x=1"});
    trashed({at("a b")});
    const auto size = listed().front().size;
    struct stat info {};
    ::stat(trash().appending("info/a b.trashinfo").path().c_str(), &info);
    const std::string line =
        std::to_string(size.value()) + " " + std::to_string(info.st_mtim.tv_sec) + " a%20b\n";
    EXPECT_EQ(read_file(trash().appending("directorysizes")), line);
    write_file(trash().appending("directorysizes"), "7" + line.substr(line.find(' ')));
    EXPECT_EQ(listed().front().size, 7);
    emptied();
    EXPECT_EQ(read_file(trash().appending("directorysizes")), "");
}

struct InfoCase {
    std::string text;
    std::string path; ///< empty: the text makes no sense
    bool has_date;
};

const InfoCase info_cases[] = {
    {"[Trash Info]\nPath=/a%20b\nDeletionDate=2024-02-03T04:05:06\n", "/a b", true},
    {"[Trash Info]\r\nDeletionDate=2024-02-03T04:05:06\r\nPath=a\r\nPath=b", "a", true},
    {"[Trash Info]\nOther=1\nPath=/%FF\nDeletionDate=soon\n", "/\xff", false},
    {"[Trash Info]\nPath=/a%2\n", "", false},
    {"[Trash Info]\nPath=/a%00b\n", "", false},
    {"Path=/a\n", "", false},
    {"", "", false},
};

TEST(TrashInfoTest, reads_what_any_program_wrote)
{
    for (const InfoCase& row : info_cases) {
        const auto info = TrashInfo::parsed(row.text);
        EXPECT_EQ(info ? info->path : "", row.path) << row.text;
        EXPECT_EQ(info && info->date, row.has_date) << row.text;
        if (row.has_date) {
            EXPECT_NE(info->text().find("DeletionDate=2024-02-03T04:05:06\n"), std::string::npos);
        }
    }
}

TEST_F(TrashTest, a_volume_leads_nobody_outside_of_it)
{
    const auto volume = Volume::in_memory(1024);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    for (const char* path : {"/etc/evil", "../evil", "d/../../evil", "."}) {
        make_tree(volume->url().appending(own_trash),
                  {"files/a=1", std::string("info/a.trashinfo=[Trash Info]\nPath=") + path + "\n"});
        const auto items = listed();
        ASSERT_EQ(items.size(), 1U);
        EXPECT_EQ(items.front().original_url, Url()) << path;
        EXPECT_EQ(restored(items), Texts{"error: It isn't known where the item was."});
    }
}

} // namespace
} // namespace orv::test
