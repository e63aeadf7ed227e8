#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "support/Volume.hpp"

#include <span>

#include <sys/stat.h>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

std::vector<std::byte> bytes(std::string_view text)
{
    const auto data = std::as_bytes(std::span(text));
    return {data.begin(), data.end()};
}

class DataToFileTest : public EngineTest {
protected:
    std::vector<DataToFileOpr::Status>
    written(std::string_view text, const Url& url,
            ConflictBehaviour behaviour = ConflictBehaviour::stop)
    {
        return statuses_of<DataToFileOpr>([&](DataToFileOpr::StatusClosure take) {
            return manager().generate_file(bytes(text), url, [take, behaviour](const auto& status) {
                take(status);
                answer(status, behaviour);
            });
        });
    }
};

struct DataCase {
    std::string name;
    Texts before;
    std::string data;
    std::string at;
    ConflictBehaviour answer;
    Texts statuses;
    Texts after;
};

constexpr auto merge = ConflictBehaviour::merge;
constexpr auto replace = ConflictBehaviour::replace;
constexpr auto keep_both = ConflictBehaviour::keep_both;
constexpr auto stop = ConflictBehaviour::stop;

const std::string start = "progress a.txt 0.00";
const std::string not_finalized = "error: Couldn't finalize copying to destination.";
const Texts taken = {"a.txt=old"};

const DataCase data_cases[] = {
    {"a new file", {}, "data", "a.txt", stop, {start, "success"}, {"a.txt=data"}},
    {"no data", taken, "", "a.txt", replace, {"error: Source data is empty."}, taken},
    {"taken, merge", taken, "x", "a.txt", merge, {"conflict a.txt", start, not_finalized}, taken},
    {"taken, replace",
     taken,
     "new",
     "a.txt",
     replace,
     {"conflict a.txt", start, "success"},
     {"a.txt=new"}},
    {"taken, keep both",
     taken,
     "new",
     "a.txt",
     keep_both,
     {"conflict a.txt", start, "success"},
     {"a 2.txt=new", "a.txt=old"}},
    {"taken, stop", taken, "new", "a.txt", stop, {"conflict a.txt", "cancelled"}, taken},
    {"a folder is replaced",
     {"a.txt/x=1"},
     "new",
     "a.txt",
     replace,
     {"conflict a.txt", start, "success"},
     {"a.txt=new"}},
    {"in a missing folder", {}, "x", "f/a.txt", stop, {start, not_finalized}, {}},
    {"in a file", taken, "x", "a.txt/b", stop, {"progress b 0.00", not_finalized}, taken},
    {"one chunk and a byte",
     {},
     std::string(102'401, 'x'),
     "a.txt",
     stop,
     {start, "success"},
     {"a.txt=" + std::string(102'401, 'x')}},
};

TEST_F(DataToFileTest, ends_as_the_answer_says)
{
    for (const DataCase& row : data_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, row.before);
        EXPECT_EQ(texts_of(written(row.data, root.appending(row.at), row.answer)), row.statuses);
        EXPECT_EQ(tree(root), row.after);
        expect_no_locks();
    }
}

TEST_F(DataToFileTest, errors_name_their_documented_lines)
{
    const struct {
        const char* data;
        Url url;
        int line;
    } rows[] = {{"", at("a"), 79}, {"x", "", 84}, {"x", "/..", 87}, {"x", at("f/a"), 247}};
    for (const auto& row : rows) {
        const auto last = written(row.data, row.url).back();
        EXPECT_TRUE(std::get<status::error>(last).error.message().ends_with(
            "(src/Operations/DataToFileOpr, generate_file(from:in:status_closure:), line " +
            std::to_string(row.line) + ")"))
            << std::get<status::error>(last).error.message();
    }
}

TEST_F(DataToFileTest, the_file_gets_the_mode_of_new_files)
{
    const mode_t before = ::umask(0026);
    written("x", at("a"));
    ::umask(before);
    struct stat status {};
    ASSERT_EQ(::stat(at("a").path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(DataToFileTest, whenever_it_is_cancelled_there_is_no_file)
{
    OrvFileManager::set_test_mode(true);
    const std::string data(30 * 102'400, 'x');
    std::string last;
    std::size_t cancel_at = 0;
    for (; last != "success"; ++cancel_at) {
        manager().sync_delete_item(at("a"));
        std::size_t count = 0;
        std::shared_ptr<DataToFileOpr> operation;
        operation = manager().generate_file(bytes(data), at("a"), [&](const auto& status) {
            last = text_of(status);
            EXPECT_EQ(tree(folder()).empty(), last != "success");
            if (count++ == cancel_at)
                operation->cancel();
        });
        pump_until([&] { return !operation->is_busy(); });
    }
    EXPECT_EQ(cancel_at, 3U); // at the start, after a second, too late
    EXPECT_EQ(read_file(at("a")), data);
}

TEST_F(DataToFileTest, a_full_disk_leaves_no_file)
{
    const auto volume = Volume::in_memory(64);
    if (!volume)
        GTEST_SKIP() << "this user may not mount a file system";
    const auto last = written(std::string(1 << 20, 'x'), volume->url().appending("a")).back();
    EXPECT_EQ(std::get<status::error>(last).error.code(), ENOSPC);
    EXPECT_EQ(std::get<status::error>(last).error.path(), volume->url().appending("a"));
    EXPECT_EQ(tree(volume->url()), Texts{});
}

} // namespace
} // namespace orv::test
