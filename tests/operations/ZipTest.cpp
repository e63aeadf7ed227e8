#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <filesystem>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

constexpr auto merge = ConflictBehaviour::merge;
constexpr auto replace = ConflictBehaviour::replace;
constexpr auto keep_both = ConflictBehaviour::keep_both;
constexpr auto stop = ConflictBehaviour::stop;

class ZipTest : public EngineTest {
protected:
    ZipOperation::Status zipped(const std::vector<Url>& items, const Url& archive,
                                ConflictBehaviour on_conflict = stop,
                                const std::optional<std::string>& password = {})
    {
        return statuses_of<ZipOperation>([&](auto take) {
                   return manager().zip(items, archive, password, on_conflict, take);
               })
            .back();
    }

    UnzipOperation::Status unzipped(const Url& archive, const Url& to,
                                    const std::optional<std::string>& password = {})
    {
        return statuses_of<UnzipOperation>(
                   [&](auto take) { return manager().unzip(archive, to, password, take); })
            .back();
    }

    /// The error of a status without the place that its text names.
    template <class Status>
    static std::string line_of(const Status& status)
    {
        const std::string message = std::get<status::error>(status).error.message();
        return message.substr(message.rfind(" line ") + 6);
    }
};

TEST_F(ZipTest, what_is_packed_comes_out_again)
{
    make_tree(folder(), {"a/b=1", "a/.c=2", "a/d/", "e=3", "out/"});
    EXPECT_EQ(text_of(zipped({at("a"), at("e")}, at("x.y.zip"))), "success");
    EXPECT_EQ(text_of(unzipped(at("x.y.zip"), at("out"))), "success");
    EXPECT_EQ(tree(at("out")),
              (Texts{"x.y/", "x.y/a/", "x.y/a/.c=2", "x.y/a/b=1", "x.y/a/d/", "x.y/e=3"}));
    EXPECT_EQ(text_of(unzipped(at("x.y.zip"), at("out"))), "success");
    EXPECT_EQ(tree(at("out/x.y 2")), tree(at("out/x.y")));
}

TEST_F(ZipTest, a_taken_name_is_settled_by_the_answer_given_in_advance)
{
    const struct {
        const char* name;
        ConflictBehaviour on_conflict;
        const char* status;
        Texts after; ///< the names
    } rows[] = {
        {"merge", merge, "error: Couldn't finalize zipping operation.", {"a=1", "z.zip=old"}},
        {"replace", replace, "success", {"a=1", "z.zip"}},
        {"keep both", keep_both, "success", {"a=1", "z 2.zip", "z.zip=old"}},
        {"stop", stop, "error: Destination item already exists.", {"a=1", "z.zip=old"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, {"a=1", "z.zip=old"});
        EXPECT_EQ(text_of(zipped({root.appending("a")}, root.appending("z.zip"), row.on_conflict)),
                  row.status);
        Texts after = tree(root);
        for (std::string& entry : after)
            if (const auto archive = entry.find("=PK"); archive != std::string::npos)
                entry.resize(archive);
        EXPECT_EQ(after, row.after);
        expect_no_locks();
    }
}

TEST_F(ZipTest, zip_errors_name_their_documented_lines)
{
    make_tree(folder(), {"a=1", "old.zip=2"});
    const struct {
        std::vector<Url> items;
        Url archive;
        std::string sentence;
        std::string line;
        ConflictBehaviour on_conflict = replace;
    } rows[] = {
        {{}, at("z.zip"), "Item urls cannot be empty.", "81)"},
        {{at("a"), ""}, at("z.zip"), "Item url points to an undefined path. \nfile://", "85)"},
        {{at("z.zip")}, at("z.zip"), "Item url cannot be the same with archive url.", "88)"},
        {{at("a")}, "", "Archive url points to an undefined path.", "98)"},
        {{at("a")}, "/..", "Archive url points to root directory.", "101)"},
        {{at("a")}, at("old.zip"), "Destination item already exists.", "120)", stop},
        {{at("a"), at("b")},
         at("old.zip"),
         "Source item doesn't exist. \n" + at("b").description(),
         "138)"},
        {{at("a")}, at("no/z.zip"), "Couldn't finalize zipping operation.", "209)"},
    };
    for (const auto& row : rows) {
        const auto status = zipped(row.items, row.archive, row.on_conflict);
        EXPECT_EQ(text_of(status), "error: " + row.sentence);
        EXPECT_EQ(line_of(status), row.line);
    }
    EXPECT_EQ(text_of(zipped({folder()}, at("z.zip"))),
              "error: Source path conflicts with destination path.");
    std::filesystem::create_directory_symlink(folder(), at("link"));
    EXPECT_EQ(text_of(zipped({at("link/old.zip")}, at("old.zip"), replace)),
              "error: Item url cannot be the same with archive url.");
    std::filesystem::create_symlink("/dev/null", at("null"));
    EXPECT_EQ(text_of(zipped({"/dev/null"}, at("z.zip"))), "error: Zip operation failed.");
    EXPECT_EQ(read_file(at("old.zip")), "2");
}

TEST_F(ZipTest, unzip_errors_name_their_documented_lines_and_leave_nothing)
{
    make_tree(folder(), {"a=1", "bad.zip=no archive", "out/"});
    zipped({at("a")}, at("secret.zip"), stop, "word");
    const Texts before = tree(folder());
    const struct {
        Url archive;
        Url to;
        std::string sentence;
        std::string line;
    } rows[] = {
        {"", at("out"), "Archive url points to an undefined path.", "82)"},
        {"/", at("out"), "Archive url points to root directory.", "85)"},
        {at("a"), "", "Destination url points to an undefined path.", "90)"},
        {at("a"), at("a"), "Archive and destination url cannot be the same.", "98)"},
        {at("bad.zip"), at("a"), "Destination url points to an existing non-folder item.", "105)"},
        {at("bad.zip"), at("no"), "Destination folder doesn't exist.", "109)"},
        {at("no.zip"), at("out"), "Archive file doesn't exist.", "157)"},
        {at("bad.zip"), at("out"), "Unzip operation failed.", "220)"},
        {at("secret.zip"), at("out"), "Unzip operation failed.", "220)"},
    };
    for (const auto& row : rows) {
        const auto status = unzipped(row.archive, row.to);
        EXPECT_EQ(text_of(status), "error: " + row.sentence);
        EXPECT_EQ(line_of(status), row.line);
        EXPECT_EQ(tree(folder()), before);
        expect_no_locks();
    }
    const auto refused = unzipped(at("secret.zip"), at("out"), "wrong");
    EXPECT_EQ(std::get<status::error>(refused).error.reason(), "The password is wrong.");
    EXPECT_EQ(text_of(unzipped(at("secret.zip"), at("out"), "word")), "success");
    EXPECT_EQ(tree(at("out")), (Texts{"secret/", "secret/a=1"}));
}

TEST_F(ZipTest, whenever_it_is_cancelled_nothing_is_left)
{
    make_tree(folder(), {"in/a=1", "in/b=2", "in/c/d=3"});
    zipped({at("in")}, at("given.zip"));
    const Texts before = tree(folder());
    const auto cancelled_at = [&](std::size_t at_status, auto start) {
        std::string last;
        std::size_t count = 0;
        std::shared_ptr<OrvOperation> operation;
        operation = start([&](const auto& status) {
            last = text_of(status);
            if (count++ == at_status)
                operation->cancel();
        });
        pump_until([&] { return !operation->is_busy(); });
        return last;
    };
    const auto zip = [&](auto take) {
        return manager().zip({at("in")}, at("z.zip"), {}, stop, take);
    };
    const auto replacing = [&](auto take) {
        return manager().zip({at("in"), at("in/a")}, at("given.zip"), {},
                             ConflictBehaviour::replace, take);
    };
    const auto unzip = [&](auto take) {
        return manager().unzip(at("given.zip"), folder(), {}, take);
    };
    std::size_t chances = 0;
    for (; cancelled_at(chances, zip) == "cancelled"; ++chances)
        EXPECT_EQ(tree(folder()), before);
    EXPECT_GE(chances, 3U);
    manager().sync_delete_item(at("z.zip"));
    for (chances = 0; cancelled_at(chances, unzip) == "cancelled"; ++chances)
        EXPECT_EQ(tree(folder()), before);
    EXPECT_GE(chances, 3U);
    manager().sync_delete_item(at("given"));
    for (chances = 0; cancelled_at(chances, replacing) == "cancelled"; ++chances)
        EXPECT_EQ(tree(folder()), before);
    EXPECT_GE(chances, 2U);
    EXPECT_NE(tree(folder()), before);
}

TEST_F(ZipTest, what_takes_the_containers_name_meanwhile_is_left_alone)
{
    namespace fs = std::filesystem;
    make_tree(folder(), {"in/a/b=1", "in/c=2", "victim/mine=3"});
    ASSERT_EQ(text_of(zipped({at("in")}, at("x.zip"))), "success");
    const auto outcome_after = [&](const std::function<void()>& swap) {
        bool is_swapped = false;
        std::string last;
        const auto operation = manager().unzip(at("x.zip"), folder(), {}, [&](const auto& status) {
            last = text_of(status);
            if (!std::exchange(is_swapped, true))
                swap();
        });
        pump_until([&] { return !operation->is_busy(); });
        return last;
    };
    EXPECT_NE(outcome_after([&] {
                  fs::rename(at("x"), at("moved"));
                  fs::create_directory_symlink(at("victim"), at("x"));
              }),
              "success");
    fs::remove_all(at("moved"));
    EXPECT_EQ(tree(at("victim")), Texts{"mine=3"});
    ASSERT_TRUE(fs::remove(at("x")));

    EXPECT_NE(outcome_after([&] {
                  fs::rename(at("x"), at("moved"));
                  fs::rename(at("victim"), at("x"));
              }),
              "success");
    EXPECT_EQ(tree(at("x")), Texts{"mine=3"});
}

} // namespace
} // namespace orv::test
