#include <orv/utility/Error.hpp>
#include <orv/utility/Fatal.hpp>

#include <cerrno>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

TEST(Error, keeps_code_and_path_of_its_cause)
{
    const Error request = error_msg("Couldn't move the item", "src/Tool/Tool", "move(from:to:)", 7);
    const Error platform = platform_error(EXDEV, "/a\xff");
    const std::string raised = "Couldn't move the item (src/Tool/Tool, move(from:to:), line 7)";

    struct Case {
        Error error;
        std::string message, sentence;
        std::optional<Url> path;
        std::optional<int> code;
        Error::Kind kind;
    };
    const Case cases[] = {
        {Error("a text"), "a text", "a text", {}, {}, Error::Kind::request},
        {request, raised, "Couldn't move the item", {}, {}, Error::Kind::request},
        {platform, "Invalid cross-device link. (/a\xff)", "Invalid cross-device link.", "/a\xff",
         EXDEV, Error::Kind::platform},
        {request.because_of(platform), raised, "Couldn't move the item", "/a\xff", EXDEV,
         Error::Kind::platform},
        {request.at("/b").appending_error(platform),
         raised + ": Invalid cross-device link. (/a\xff)", "Couldn't move the item", "/b", EXDEV,
         Error::Kind::platform},
        {database_error(19, "UNIQUE constraint failed"),
         "The database reports: UNIQUE constraint failed. (SQLite code 19)",
         "The database reports: UNIQUE constraint failed.",
         {},
         19,
         Error::Kind::database},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(row.error.message(), row.message);
        EXPECT_EQ(row.error.what(), row.message);
        EXPECT_EQ(row.error.sentence(), row.sentence);
        EXPECT_EQ(row.error.path(), row.path) << row.message;
        EXPECT_EQ(row.error.code(), row.code) << row.message;
        EXPECT_EQ(row.error.kind(), row.kind) << row.message;
    }
}

TEST(Error, tells_the_first_of_all_reasons)
{
    const Error cause = platform_error(ENOSPC, "/a");
    EXPECT_EQ(cause.reason(), "");
    EXPECT_EQ(Error("b").because_of(cause).reason(), "No space left on device.");
    EXPECT_EQ(Error("c").because_of(Error("b").because_of(cause)).reason(),
              "No space left on device.");
    EXPECT_EQ(Error("c").because_of(Error("b")).reason(), "b");
}

TEST(FatalDeathTest, writes_one_line_and_asks_the_handler)
{
    const auto die = [](FatalHandler handler) {
        set_fatal_handler(std::move(handler));
        fatal("It is\nover.");
    };
    EXPECT_EXIT(die({}), testing::KilledBySignal(SIGABRT), "^orv: It is over\\.\n$");
    EXPECT_EXIT(die([](std::string_view text) { std::exit(text == "It is\nover." ? 7 : 1); }),
                testing::ExitedWithCode(7), "orv: It is over");
}

} // namespace
} // namespace orv::test
