#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "utility/FileDescriptor.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>

#include <sys/inotify.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

using Criteria = SearchItemsOperation::Criteria;
using Criterias = std::vector<Criteria>;
using Statuses = std::vector<SearchItemsOperation::Status>;
using Texts = std::vector<std::string>;

const Criterias names{Criteria::file_name};
const Criterias contents{Criteria::file_content};
const Criterias both{Criteria::file_name, Criteria::file_content};

class SearchItemsTest : public EngineTest {
protected:
    Statuses searched(const Url& inside, const std::string& keyword, const Criterias& criterias,
                      bool recursive = true, bool include_hidden_files = true)
    {
        return statuses_of<SearchItemsOperation>([&](auto take) {
            return manager().search_items(inside, keyword, recursive, include_hidden_files,
                                          criterias, take);
        });
    }

    static Texts paths_of(const std::vector<FileItem>& items)
    {
        Texts paths;
        for (const FileItem& item : items)
            paths.push_back(item.relative_path);
        return paths;
    }

    /// What was found, sorted.
    static Texts found(const Statuses& statuses)
    {
        Texts paths =
            paths_of(std::get<SearchItemsOperation::completed>(statuses.back()).all_items);
        std::sort(paths.begin(), paths.end());
        return paths;
    }
};

TEST_F(SearchItemsTest, finds_what_was_asked_for)
{
    make_tree(folder(), {"Needle.txt=x", "a/b/note=the NEEDLE is in the hay", "a/needles/",
                         "a/.hid/needle=hay", "link.needle->a/b/note", "link->a/b/note",
                         "Caf\u00E9=", "cafe\u0301/cre\u0300me=caf\xC9", "empty="});
    const struct {
        const char* keyword;
        Criterias criterias;
        bool recursive;
        bool include_hidden_files;
        Texts found;
    } rows[] = {
        {"needle", names, false, false, {"Needle.txt", "link.needle"}},
        {"needle", names, true, false, {"Needle.txt", "a/needles", "link.needle"}},
        {"needle", names, true, true, {"Needle.txt", "a/.hid/needle", "a/needles", "link.needle"}},
        {"needle", contents, true, true, {"a/b/note"}},
        {"HAY", both, true, true, {"a/.hid/needle", "a/b/note"}},
        {"hay", both, true, false, {"a/b/note"}},
        {"hay", {Criteria::file_content, Criteria::file_name}, false, true, {}},
        {"CAFE\u0301", both, true, true, {"Caf\u00E9", "cafe\u0301", "cafe\u0301/cre\u0300me"}},
        {"cafe", names, true, true, {}},
        {"", both, true, true, {}},
        {"needle", {}, true, true, {}},
    };
    for (const auto& row : rows) {
        const Statuses statuses =
            searched(folder(), row.keyword, row.criterias, row.recursive, row.include_hidden_files);
        EXPECT_EQ(statuses.size(), 1U);
        EXPECT_EQ(found(statuses), row.found) << row.keyword;
    }
    EXPECT_EQ(found(searched(at("a"), "note", names)), Texts{"b/note"});
}

TEST_F(SearchItemsTest, only_a_folder_can_be_searched)
{
    make_tree(folder(), {"file=x", "dangling->gone"});
    EXPECT_EQ(texts_of(searched(at("file"), "x", both)),
              Texts{"error: Given url must point to a folder."});
    EXPECT_EQ(texts_of(searched(at("dangling"), "x", both)),
              Texts{"error: Given url must point to a folder."});
    EXPECT_EQ(texts_of(searched(at("gone"), "x", both)),
              Texts{"error: No item exists at given url."});
}

TEST_F(SearchItemsTest, opens_regular_files_whose_name_does_not_match_and_nothing_else)
{
    make_tree(folder(), {"x.needle=needle", "hay=needle", "link->hay"});
    ASSERT_EQ(::mkfifo(at("fifo").path().c_str(), 0600), 0);
    const FileDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(watch.get(), folder().path().c_str(), IN_OPEN), 0);

    EXPECT_EQ(found(searched(folder(), "needle", both)), (Texts{"hay", "x.needle"}));

    std::set<std::string> opened;
    alignas(inotify_event) std::array<char, 4096> events{};
    const ssize_t size = ::read(watch.get(), events.data(), events.size());
    for (ssize_t at = 0; at < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
        if (!(event->mask & IN_ISDIR))
            opened.insert(event->name);
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    EXPECT_EQ(opened, std::set<std::string>{"hay"});
}

TEST_F(SearchItemsTest, results_come_in_the_order_of_the_walk)
{
    Texts entries;
    for (std::size_t i = 0; i < 300; ++i)
        entries.push_back("f" + std::to_string(i % 7) + "/" + std::to_string(i) + "=" +
                          std::string(i % 5 == 0 ? 300'000 : i, '.') +
                          (i % 2 == 0 ? "ne" : "NEedle"));
    entries.emplace_back("needle=");
    make_tree(folder(), entries);

    Texts expected;
    const auto walked = statuses_of<FetchItemsOperation>(
        [&](auto take) { return manager().fetch_items(folder(), true, {}, true, take); });
    for (const FileItem& item : std::get<FetchItemsOperation::success>(walked.back()).content)
        if (item.name == "needle" || (!item.is_dir && std::stoi(item.name) % 2 == 1))
            expected.push_back(item.relative_path);
    const Statuses statuses = searched(folder(), "needle", both);
    EXPECT_EQ(paths_of(std::get<SearchItemsOperation::completed>(statuses.back()).all_items),
              expected);
}

TEST_F(SearchItemsTest, tells_twice_a_second_what_is_new)
{
    OrvFileManager::set_test_mode(true);
    Texts entries;
    for (int i = 0; i < 7; ++i)
        entries.push_back("needle " + std::to_string(i) + "=");
    make_tree(folder(), entries);
    for (int i = 0; i < 7; ++i)
        save_all({{.url = at("needle " + std::to_string(i)), .order_no = i}}, false);

    Statuses statuses = searched(folder(), "NEEDLE", both);
    const auto all = std::get<SearchItemsOperation::completed>(statuses.back()).all_items;
    EXPECT_EQ(all.size(), 7U);
    for (const FileItem& item : all)
        EXPECT_EQ("needle " + std::to_string(item.custom_attributes.order_no.value_or(-1)),
                  item.name);
    statuses.pop_back();
    EXPECT_LE(statuses.size(), 4U);
    Texts told;
    for (const auto& status : statuses)
        for (const FileItem& item :
             std::get<SearchItemsOperation::currently_fetched>(status).items) {
            EXPECT_TRUE(item.custom_attributes.order_no);
            told.push_back(item.relative_path);
        }
    Texts beginning = paths_of(all);
    beginning.resize(std::max<std::size_t>(3, told.size()));
    EXPECT_EQ(told, beginning);
}

TEST_F(SearchItemsTest, a_cancel_stops_the_walk)
{
    OrvFileManager::set_test_mode(true);
    Texts entries;
    for (int i = 0; i < 40; ++i)
        entries.push_back(std::to_string(i) + "=");
    make_tree(folder(), entries);
    Texts said;
    const auto start = std::chrono::steady_clock::now();
    manager()
        .search_items(folder(), "1", true, true, names,
                      [&](const auto& status) { said.push_back(text_of(status)); })
        ->cancel();
    pump_until([&] { return !said.empty(); });
    EXPECT_EQ(said, Texts{"cancelled"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

TEST_F(SearchItemsTest, reports_and_stops_while_large_files_are_read)
{
    make_tree(folder(), {"needles/a=", "needles/b=", "needles/c="});
    for (const char* name : {"needles/a", "needles/b", "needles/c"})
        std::filesystem::resize_file(at(name), std::int64_t{1} << 40);
    Texts said;
    const auto operation =
        manager().search_items(folder(), "needle", true, true, both,
                               [&](const auto& status) { said.push_back(text_of(status)); });
    pump_until([&] { return !said.empty(); });
    EXPECT_EQ(said, Texts{"fetched needles"});
    const auto start = std::chrono::steady_clock::now();
    operation->cancel();
    pump_until([&] { return said.back() == "cancelled"; });
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

} // namespace
} // namespace orv::test
