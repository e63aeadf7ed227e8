#include "CustomAttributes/RecordKey.hpp"

#include "attributes/AttributesTest.hpp"

#include <orv/utility/Error.hpp>

namespace orv::test {
namespace {

class RecordKeys : public AttributesTest {};

TEST_F(RecordKeys, lead_back_to_the_item)
{
    struct Case {
        Url url;
        std::string key;
    };
    const Case cases[] = {
        {home("a"), "a"},
        {home("a/b c"), "a/b c"},
        {home("\xFF%_*[x]"), "\xFF%_*[x]"},
        {home(""), ""},
        {home("x/../a"), "a"},
        {home("../homely/a"), home("").path() + "ly/a"},
        {outside("a"), outside("a").path()},
        {home("").deleting_last_path_component(), home("").deleting_last_path_component().path()},
        {"/", "/"},
        {"/Users/Shared/a", "/Users/Shared/a"},
        {"/Users/Shared", "/Users/Shared"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(record_key(one.url).text(), one.key);
        EXPECT_EQ(record_key_of_entry(one.url).text(), one.key);
        EXPECT_EQ(record_keys({one.url}), std::vector{record_key(one.url)});
        EXPECT_EQ(url_from_relative_path(one.key), one.url.resolving_symlinks());
    }
    EXPECT_THROW((void)record_key(Url()), Error);
    EXPECT_THROW((void)record_key_of_entry(Url()), Error);
}

TEST_F(RecordKeys, resolve_links_and_those_of_entries_all_but_the_last)
{
    make_tree(home(""), {"folder/file=1", "to_file->folder/file", "to_folder->folder",
                         "dangling->folder/none", "loop->loop", "out->" + outside("").path()});
    make_tree(outside(""), {"x=1"});
    struct Case {
        std::string url;
        std::string key;
        std::string entry_key;
    };
    const Case cases[] = {
        {"to_file", "folder/file", "to_file"},
        {"to_folder", "folder", "to_folder"},
        {"to_folder/file", "folder/file", "folder/file"},
        {"to_folder/none", "folder/none", "folder/none"},
        {"to_folder/.", "folder", "folder"},
        {"dangling", "folder/none", "dangling"},
        {"loop", "loop", "loop"},
        {"out", outside("").path(), "out"},
        {"out/x", outside("x").path(), outside("x").path()},
    };
    std::vector<Url> urls;
    std::vector<RecordKey> keys;
    for (const Case& one : cases) {
        urls.push_back(home(one.url));
        keys.push_back(record_key(home(one.url)));
        EXPECT_EQ(keys.back().text(), one.key) << one.url;
        EXPECT_EQ(record_key_of_entry(home(one.url)).text(), one.entry_key) << one.url;
    }
    EXPECT_EQ(record_keys(urls), keys);
}

TEST_F(RecordKeys, of_what_is_inside_a_folder_need_no_disk)
{
    for (const Url& folder : {home(""), home("a"), outside(""), Url("/"), Url("/Users"),
                              home("").deleting_last_path_component()})
        for (const char* name : {"x", "home/x", "Shared/x"})
            EXPECT_EQ(record_key(folder).appending(name), record_key(folder.appending(name)));
}

} // namespace
} // namespace orv::test
