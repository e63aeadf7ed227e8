#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"

#include <orv/utility/Fatal.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <thread>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

class FileManagerTest : public EngineTest {};

TEST_F(FileManagerTest, a_folder_is_created_at_once)
{
    const Texts before = {"dangling->gone", "file=1", "folder/", "folder/x=2", "link->folder"};
    const struct {
        const char* at;
        bool also_create_intermediates;
        bool result;
        const char* added = nullptr;
    } rows[] = {
        {"new", false, true, "new/"}, {"folder", false, true},           {"link", true, true},
        {"file", true, false},        {"dangling", true, false},         {"n/new", false, false},
        {"file/new", true, false},    {"folder/n/../new", false, false}, {"m/", true, true, "m/"},
    };
    make_tree(folder(), before);
    Texts expected = before;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.at);
        EXPECT_EQ(manager().sync_create_new_folder(at(row.at), row.also_create_intermediates),
                  row.result);
        if (row.added)
            expected.emplace_back(row.added);
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(tree(folder()), expected);
    }
    for (const char* none : {"", "/", "/a/.."})
        EXPECT_FALSE(manager().sync_create_new_folder(none, true)) << none;
}

TEST_F(FileManagerTest, an_item_is_deleted_at_once_and_its_row_stays)
{
    make_tree(folder(), {"a/b=1", "c=2", "link->a"});
    save_all({{.url = at("a/b"), .is_protected = true}}, false);
    EXPECT_TRUE(manager().sync_delete_item(at("link")));
    EXPECT_TRUE(manager().sync_delete_item(at("a")));
    EXPECT_FALSE(manager().sync_delete_item(at("a")));
    for (const char* none : {"", "/", "//", "/tmp/.."})
        EXPECT_FALSE(manager().sync_delete_item(none)) << none;
    EXPECT_EQ(tree(folder()), Texts{"c=2"});
    EXPECT_TRUE(CustomAttributes::fetch(at("a/b")));
}

TEST_F(FileManagerTest, what_is_locked_is_neither_deleted_nor_created_at_once)
{
    make_tree(folder(), {"a/b=1"});
    {
        const UrlLock lock({read(at("a"))}, write(at("n")));
        EXPECT_FALSE(manager().sync_delete_item(at("a/b")));
        EXPECT_FALSE(manager().sync_delete_item(folder()));
        EXPECT_FALSE(manager().sync_create_new_folder(at("n"), true));
        EXPECT_FALSE(manager().sync_create_new_folder(at("a"), true));
    }
    EXPECT_EQ(tree(folder()), (Texts{"a/", "a/b=1"}));
    EXPECT_TRUE(manager().sync_delete_item(at("a/b")));
}

TEST_F(FileManagerTest, tells_what_exists)
{
    make_tree(folder(), {"dangling->gone", "file=1", "folder/", "link->folder"});
    const struct {
        const char* at;
        bool exists;
        bool is_directory;
    } rows[] = {{"file", true, false},     {"folder", true, true}, {"link", true, true},
                {"dangling", true, false}, {"gone", false, false}, {"file/x", false, false}};
    for (const auto& row : rows) {
        EXPECT_EQ(manager().file_exists(at(row.at)), row.exists) << row.at;
        EXPECT_EQ(manager().is_directory(at(row.at)), row.is_directory) << row.at;
    }
    EXPECT_FALSE(manager().file_exists(""));
    EXPECT_TRUE(manager().is_directory("/"));
}

TEST_F(FileManagerTest, a_single_copy_starts_in_test_mode_alone)
{
    make_tree(folder(), {"a=1"});
    EXPECT_FALSE(OrvFileManager::test_mode());
    testing::internal::CaptureStderr();
    bool called = false;
    const auto operation =
        manager().single_copy(at("a"), at("b"), true, [&](const auto&) { called = true; });
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "⚠️ single_copy() function is exposed for debug purposes and it can cause "
              "unexpected behaviour.\nSo it should not be used under normal circumstances,\n"
              "but if you are sure to use it please set `OrvFileManager.test_mode` to `true`.\n");
    EXPECT_FALSE(operation->is_busy());
    pump_until([&] { return manager().file_exists(at("a")); });
    EXPECT_FALSE(called);
    EXPECT_EQ(tree(folder()), Texts{"a=1"});
}

TEST_F(FileManagerTest, background_code_copies_and_waits)
{
    make_tree(folder(), {"a=1", "taken=2"});
    const struct {
        const char* to;
        ConflictBehaviour on_conflict;
        bool result;
        const char* added = nullptr;
    } rows[] = {{"b", ConflictBehaviour::stop, true, "b=1"},
                {"taken", ConflictBehaviour::stop, false},
                {"taken", ConflictBehaviour::keep_both, true, "taken 2=1"},
                {"a/c", ConflictBehaviour::replace, false}};
    Texts expected = tree(folder());
    for (const auto& row : rows) {
        std::optional<bool> result;
        std::thread background([&] {
            const bool is_copied = manager().bg_copy(at("a"), at(row.to), row.on_conflict);
            main_async([&, is_copied] { result = is_copied; });
        });
        pump_until([&] { return result.has_value(); });
        background.join();
        EXPECT_EQ(result, row.result) << row.to;
        if (row.added)
            expected.emplace_back(row.added);
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(tree(folder()), expected);
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(manager().bg_copy(at("a"), at("z"), ConflictBehaviour::stop),
                 "bg_copy.src_url:dest_url:on_conflict:.");
}

TEST_F(FileManagerTest, there_is_one_manager)
{
    OrvFileManager::create_singleton();
    EXPECT_EQ(&OrvFileManager::singleton(), &manager());
}

class FileManagerDeathTest : public testing::Test {
protected:
    FileManagerDeathTest()
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        locations.home_dir = locations.app_support_dir = locations.temp_dir = scratch.url();
    }

    /// The process that dies has a folder of its own.
    void remove_the_folder_at_the_end()
    {
        set_fatal_handler([this](std::string_view) { std::filesystem::remove_all(scratch.url()); });
    }

    Scratch scratch;
    Locations locations;
};

TEST_F(FileManagerDeathTest, locations_cannot_be_changed_once_they_are_used)
{
    const auto configure_twice = [&] {
        remove_the_folder_at_the_end();
        OrvFileManager::configure(locations);
        OrvFileManager::configure(locations);
        OrvFileManager::create_singleton();
        std::cerr << "created ";
        OrvFileManager::configure(locations);
    };
    EXPECT_DEATH(configure_twice(),
                 "created orv: The locations were configured after the library was first used");
}

TEST_F(FileManagerDeathTest, a_database_that_is_none_ends_the_process_with_one_line)
{
    write_file(scratch / "orv_file_manager_db.sqlite", std::string(5000, 'x'));
    const auto create = [&] {
        remove_the_folder_at_the_end();
        OrvFileManager::configure(locations);
        OrvFileManager::create_singleton();
    };
    EXPECT_DEATH(create(), "^orv: The attributes database at .*/orv_file_manager_db.sqlite can't "
                           "be used\\..*\n$");
}

} // namespace
} // namespace orv::test
