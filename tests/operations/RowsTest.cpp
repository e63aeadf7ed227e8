#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"
#include "support/Child.hpp"
#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"
#include "support/Volume.hpp"

#include <filesystem>
#include <memory>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

constexpr auto merge = ConflictBehaviour::merge;
constexpr auto replace = ConflictBehaviour::replace;
constexpr auto stop = ConflictBehaviour::stop;

class RowsTest : public EngineTest {
protected:
    /// The final status of a request.
    std::string run(const std::string& request, const Url& from, const std::string& to,
                    ConflictBehaviour behaviour)
    {
        const Url there = to.starts_with('/') ? Url(to) : at(to);
        const auto answering = [&](auto take) {
            return [take, behaviour](const auto& status) {
                take(status);
                answer(status, behaviour);
            };
        };
        if (request == "rename")
            return text_of(statuses_of<RenameOperation>([&](auto take) {
                               return manager().rename(from, to, take);
                           }).back());
        if (request == "move")
            return text_of(statuses_of<MoveOperation>([&](MoveOperation::StatusClosure take) {
                               return manager().move(from, there, answering(take));
                           }).back());
        if (request == "zip")
            return text_of(statuses_of<ZipOperation>([&](auto take) {
                               return manager().zip({from}, there, {}, behaviour, take);
                           }).back());
        if (request == "write")
            return text_of(statuses_of<DataToFileOpr>([&](DataToFileOpr::StatusClosure take) {
                               return manager().generate_file({std::byte{'d'}}, there,
                                                              answering(take));
                           }).back());
        return text_of(statuses_of<CopyOperation>([&](CopyOperation::StatusClosure take) {
                           return manager().copy(from, there, answering(take));
                       }).back());
    }
};

struct RowsCase {
    std::string name;
    std::string request;
    std::string to; ///< for the item "a"
    ConflictBehaviour answer;
    bool succeeds;
    Texts before; ///< rows of these, where "a/x" and "b/y" are all the items
    Texts after;
};

const std::string too_long(256, 'n');

const RowsCase rows_cases[] = {
    {"a new name that no volume holds",
     "rename",
     too_long,
     stop,
     false,
     {"a", "a/x"},
     {"a", "a/x"}},
    {"a move into a missing folder", "move", "none/a", stop, false, {"a/x"}, {"a/x"}},
    {"a move into a file, where something is stored",
     "move",
     "b/y/z",
     stop,
     false,
     {"a/x", "b/y/z", "b/y/z/x"},
     {"a/x", "b/y/z", "b/y/z/x"}},
    {"a move to another volume into a missing folder",
     "move",
     "@/none/a",
     stop,
     false,
     {"a", "a/x"},
     {"a", "a/x"}},
    {"a move that replaces", "move", "b", replace, true, {"a/x", "b", "b/y"}, {"b/x"}},
    {"a move without rows that replaces", "move", "b", replace, true, {"b", "b/y"}, {}},
    {"a copy that replaces", "copy", "b", replace, true, {"a/x", "b", "b/y"}, {"a/x", "b/x"}},
    {"a copy without rows that replaces", "copy", "b", replace, true, {"b", "b/y"}, {}},
    {"an archive that replaces", "zip", "b", replace, true, {"a/x", "b", "b/y"}, {"a/x"}},
    {"data that replace a folder", "write", "b", replace, true, {"a/x", "b", "b/y"}, {"a/x"}},
    {"data of the same document", "write", "b/y", replace, true, {"b", "b/y"}, {"b", "b/y"}},
    {"a copy that merges",
     "copy",
     "b",
     merge,
     true,
     {"a/x", "b", "b/y"},
     {"a/x", "b", "b/x", "b/y"}},
    {"a copy that is not wanted", "copy", "b", stop, false, {"a/x", "b"}, {"a/x", "b"}},
    {"a copy to where something was", "copy", "c", stop, true, {"a", "c", "c/gone"}, {"a", "c"}},
    {"a copy that fails", "copy", "b/y/z", stop, false, {"a/x", "b/y/z"}, {"a/x", "b/y/z"}}};

TEST_F(RowsTest, are_stored_for_no_item_but_those_that_are_there)
{
    const auto volume = Volume::in_memory(256);
    for (const RowsCase& row : rows_cases) {
        const bool is_elsewhere = row.to.starts_with('@');
        if (is_elsewhere && !volume)
            continue;
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(folder().path());
        make_tree(folder(), {"a/x=1", "b/y=2"});
        store_rows(folder(), row.before);
        const std::string to = is_elsewhere ? volume->url().path() + row.to.substr(1) : row.to;
        EXPECT_EQ(run(row.request, at("a"), to, row.answer) == "success", row.succeeds);
        EXPECT_EQ(stored_rows(folder()), row.after);
        if (is_elsewhere) {
            EXPECT_EQ(stored_rows(volume->url()), Texts{});
        }
        RecCustomAttr::delete_records(folder());
    }
}

TEST_F(RowsTest, of_a_large_folder_that_replaces_another_all_follow)
{
    Texts files;
    for (int i = 0; i < 600; ++i)
        files.push_back("a/" + std::to_string(1000 + i));
    make_tree(folder(), files);
    make_tree(folder(), {"b/old"});
    const Texts with_rows{files.front(), files.at(300), files.back()};
    store_rows(folder(), with_rows);
    store_rows(at("b"), {"old"});
    EXPECT_EQ(run("copy", at("a"), "b", replace), "success");
    EXPECT_EQ(stored_rows(at("b")), (Texts{"1000", "1300", "1599"}));
}

TEST_F(RowsTest, are_never_lost_to_two_processes_that_move_one_item_to_and_fro)
{
    const Scratch root;
    make_tree(root.url(), {"home/a=1", "support/", "tmp/"});
    const auto child = [&](const Texts& command) {
        Texts arguments{ORV_ENGINE_CHILD, root.url().path()};
        arguments.insert(arguments.end(), command.begin(), command.end());
        return std::make_unique<Child>(arguments);
    };
    const std::string item = (root / "home/a").path();
    EXPECT_EQ(child({"save", (root / "home/a").path(), "1"})->read_line(), "saved");
    const std::string a = item + "0";
    const std::string b = (root / "home/b").path();
    std::filesystem::rename(item, a);

    const auto one = child({"move-to-and-fro", a, b, "100"});
    const auto other = child({"move-to-and-fro", b, a, "100"});
    EXPECT_EQ(one->read_line(), "moved");
    EXPECT_EQ(other->read_line(), "moved");

    Database database;
    database.open(root / "support/orv_file_manager_db.sqlite", false);
    const std::string key = std::filesystem::exists(a) ? "a0" : "b";
    bool found = false;
    database.query("SELECT 1 FROM custom_attributes WHERE relative_path = ?", {key},
                   [&](const Row&) { return found = true; });
    EXPECT_TRUE(found) << key;
}

} // namespace
} // namespace orv::test
