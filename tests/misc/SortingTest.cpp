#include <orv/Misc/FileItem.hpp>

#include <algorithm>
#include <array>
#include <random>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using enum SortOrder;
using List = std::vector<std::string>;

/// An item told by a word: "name" with, after commas, "dir", "package", "size 5", "date 5" and
/// "no 5".
FileItem item_of(const std::string& words)
{
    FileItem item;
    std::size_t end = words.find(',');
    item.name = words.substr(0, end);
    const Url url = Url("/").appending(item.name);
    item.ext = url.path_extension();
    item.title = url.deleting_path_extension().last_path_component();
    while (end != std::string::npos) {
        const std::size_t start = end + 1;
        end = words.find(',', start);
        const std::string word = words.substr(start, end - start);
        const auto number = [&] { return std::stoll(word.substr(word.find(' '))); };
        if (word == "dir" || word == "package")
            item.is_dir = true;
        if (word == "package")
            item.is_package = true;
        if (word.starts_with("size"))
            item.size = number();
        if (word.starts_with("date"))
            item.modification_date = FileItem::Date(std::chrono::nanoseconds(number()));
        if (word.starts_with("no"))
            item.custom_attributes.order_no = number();
    }
    return item;
}

List sorted(const List& words, SortType sort)
{
    std::vector<FileItem> items;
    for (const std::string& word : words) {
        items.push_back(item_of(word));
        items.back().url = Url("/").appending(word); // so that it can be told again
    }
    orv_sort(items, sort);
    List result;
    for (const FileItem& item : items)
        result.push_back(item.url.path().substr(1));
    return result;
}

struct SortCase {
    std::string what;
    SortType sort;
    List before;
    List after;
};

const SortCase sort_cases[] = {
    {"nothing", SortType::by_name(asc), {}, {}},
    {"one", SortType::by_extension(desc), {"a"}, {"a"}},

    {"name", SortType::by_name(asc), {"b", "C", "a", "ab"}, {"a", "ab", "b", "C"}},
    {"name", SortType::by_name(desc), {"b", "C", "a", "ab"}, {"C", "b", "ab", "a"}},
    {"case", SortType::by_name(asc), {"B", "a", "b", "A"}, {"a", "A", "B", "b"}},
    {"case", SortType::by_name(desc), {"a", "B", "A", "b"}, {"B", "b", "a", "A"}},
    {"long beginnings",
     SortType::by_name(asc),
     {"document 10", "Document 1", "document", "documen"},
     {"documen", "document", "Document 1", "document 10"}},
    {"forms",
     SortType::by_name(asc),
     {"ez", "\u00C9", "e\u0301", "e", "f"},
     {"e", "ez", "\u00C9", "e\u0301", "f"}},
    {"bytes",
     SortType::by_name(asc),
     {"a\xff", "a\U0001F600", "a\xfe", "az"},
     {"az", "a\xfe", "a\xff", "a\U0001F600"}},

    {"size",
     SortType::by_size(asc),
     {"c,size 9", "dir,dir", "b,size 3", "empty,size 0", "dir2,dir", "a,size 3"},
     {"dir,dir", "empty,size 0", "dir2,dir", "b,size 3", "a,size 3", "c,size 9"}},
    {"size",
     SortType::by_size(desc),
     {"dir,dir", "b,size 3", "empty,size 0", "c,size 9", "a,size 3"},
     {"c,size 9", "b,size 3", "a,size 3", "dir,dir", "empty,size 0"}},

    {"date",
     SortType::by_modification_date(asc),
     {"b,date 7", "none", "a,date -7", "c,date 7"},
     {"none", "a,date -7", "b,date 7", "c,date 7"}},
    {"date",
     SortType::by_modification_date(desc),
     {"b,date 7", "none", "a,date -7", "c,date 7"},
     {"b,date 7", "c,date 7", "a,date -7", "none"}},

    {"extension",
     SortType::by_extension(asc),
     {"photo.JPG", "a.jpg", "b.png", "plain"},
     {"plain", "photo.JPG", "a.jpg", "b.png"}},
    {"extension",
     SortType::by_extension(asc),
     {"b.png", "z.jpg", "B.jpg", "a.png", "b.jpg"},
     {"B.jpg", "b.jpg", "z.jpg", "a.png", "b.png"}},
    {"extension",
     SortType::by_extension(desc),
     {"b.jpg", "photo.JPG", "z.jpg", "b.png", "plain"},
     {"b.png", "z.jpg", "photo.JPG", "b.jpg", "plain"}},
    {"extension, in a ring",
     SortType::by_extension(asc),
     {"b.jpg", "x.JPG", "a.jpg", "w.JPG"},
     {"a.jpg", "w.JPG", "b.jpg", "x.JPG"}},

    {"folders",
     SortType::by_folders_first(),
     {"b", "Z,dir", "a.app,package", "A", "c,dir"},
     {"c,dir", "Z,dir", "A", "a.app,package", "b"}},

    {"natural",
     SortType::by_natural_name(asc),
     {"part 10", "Part 2", "part", "part 1b", "part 1.5", "part 1", "part:"},
     {"part", "part 1", "part 1.5", "part 1b", "Part 2", "part 10", "part:"}},
    {"natural",
     SortType::by_natural_name(desc),
     {"a9", "A10", "a10", "b1"},
     {"b1", "A10", "a10", "a9"}},
    {"natural, leading zeros",
     SortType::by_natural_name(asc),
     {"a000", "a02", "a010", "a2", "a002b", "a002", "a0", "a2b", "a1"},
     {"a0", "a000", "a1", "a2", "a02", "a002", "a2b", "a002b", "a010"}},
    {"natural, zeros of several numbers",
     SortType::by_natural_name(asc),
     {"01-01", "1-01", "01-1", "1-1"},
     {"1-1", "1-01", "01-1", "01-01"}},
    {"natural, long",
     SortType::by_natural_name(asc),
     {"1" + std::string(600, '0'), "2" + std::string(255, '9'), std::string(256, '9'),
      "18446744073709551616", "3" + std::string(254, '0'), "18446744073709551615"},
     {"18446744073709551615", "18446744073709551616", "3" + std::string(254, '0'),
      "2" + std::string(255, '9'), std::string(256, '9'), "1" + std::string(600, '0')}},
    {"natural, scripts and bytes",
     SortType::by_natural_name(asc),
     {"x\u0661\u0660", "x9", "\u00C92", "x10", "e\u03011", "x\xff", "x\uFF11\uFF11"},
     {"e\u03011", "\u00C92", "x9", "x\u0661\u0660", "x10", "x\uFF11\uFF11", "x\xff"}},

    {"folders first, by size",
     SortType::by_size(desc).with_folders_first(),
     {"a,size 1", "d,dir", "b,size 3", "p,package", "c,dir"},
     {"d,dir", "c,dir", "b,size 3", "a,size 1", "p,package"}},
    {"folders first, natural",
     SortType::by_natural_name(desc).with_folders_first(),
     {"9", "d2,dir", "10", "d10,dir"},
     {"d10,dir", "d2,dir", "10", "9"}},

    {"custom",
     SortType::by_custom_order(),
     {"w,no 2", "z", "x,no 1", "Y"},
     {"x,no 1", "w,no 2", "Y", "z"}},
    {"custom, equal",
     SortType::by_custom_order(),
     {"y,no 2", "b", "x,no 2", "B", "z,no -1"},
     {"z,no -1", "y,no 2", "x,no 2", "b", "B"}},
};

TEST(Sorting, orders_by_the_rules)
{
    for (const SortCase& row : sort_cases)
        EXPECT_EQ(sorted(row.before, row.sort), row.after) << row.what;
}

/// Whether the rule says that `a` goes before `b`, told by the names that the test makes, in which
/// folding is lower case.
bool goes_before(const FileItem& a, const FileItem& b, SortType sort)
{
    const auto lower = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(), ::tolower);
        return text;
    };
    const auto expected = [&](const auto& left, const auto& right) {
        return sort.order() == asc ? left < right : right < left;
    };
    if (sort.puts_folders_first() && a.is_plain_dir() != b.is_plain_dir())
        return a.is_plain_dir();
    switch (sort.key()) {
    case SortType::Key::name:
        return expected(lower(a.name), lower(b.name));
    case SortType::Key::size:
        return expected(a.size.value_or(0), b.size.value_or(0));
    case SortType::Key::modification_date:
        // Of two undated items either may stand first.
        return (a.modification_date || b.modification_date) &&
               expected(a.modification_date, b.modification_date);
    case SortType::Key::extension:
        return a.ext == b.ext ? expected(lower(a.name), lower(b.name))
                              : expected(lower(a.ext), lower(b.ext));
    case SortType::Key::folders_first:
    case SortType::Key::natural_name: // the names have no numbers
        return expected(lower(a.name), lower(b.name));
    case SortType::Key::custom_order:
        break;
    }
    const auto left = a.custom_attributes.order_no;
    const auto right = b.custom_attributes.order_no;
    if (left && right)
        return *left < *right;
    return left.has_value() != right.has_value() ? left.has_value() : lower(a.name) < lower(b.name);
}

FileItem random_item(std::mt19937& random)
{
    static constexpr std::array<const char*, 10> names{"a.jpg", "B.JPG", "c.Jpg", "b.jpg", "A",
                                                       "a",     "b.png", "x.PNG", "c",     "C.jpg"};
    std::string words = names[random() % names.size()];
    for (const char* word :
         {",dir", ",package", ",size 1", ",size 2", ",date 1", ",date 2", ",no 1", ",no 2"})
        if (random() % 4 == 0)
            words += word;
    return item_of(words);
}

TEST(Sorting, keeps_every_item_and_no_two_against_the_rule)
{
    const SortType sorts[] = {SortType::by_name(asc),
                              SortType::by_name(desc),
                              SortType::by_size(asc),
                              SortType::by_size(desc),
                              SortType::by_modification_date(asc),
                              SortType::by_modification_date(desc),
                              SortType::by_extension(asc),
                              SortType::by_extension(desc),
                              SortType::by_folders_first(),
                              SortType::by_custom_order(),
                              SortType::by_natural_name(desc),
                              SortType::by_extension(desc).with_folders_first(),
                              SortType::by_custom_order().with_folders_first()};
    std::mt19937 random(7);
    for (int round = 0; round < 2'000; ++round) {
        std::vector<FileItem> items;
        const int count = static_cast<int>(random() % (round % 50 == 0 ? 200 : 20));
        for (int i = 0; i < count; ++i) {
            items.push_back(random_item(random));
            items.back().level = i;
        }
        const SortType sort = sorts[random() % std::size(sorts)];
        orv_sort(items, sort);

        std::vector<bool> seen(items.size());
        for (std::size_t i = 0; i < items.size(); ++i) {
            ASSERT_FALSE(seen[static_cast<std::size_t>(items[i].level)]) << "an item came twice";
            seen[static_cast<std::size_t>(items[i].level)] = true;
            for (std::size_t j = 0; j < i; ++j) {
                ASSERT_FALSE(goes_before(items[i], items[j], sort));
                const bool is_ring =
                    sort.key() == SortType::Key::extension && items[i].ext != items[j].ext;
                if (!is_ring && !goes_before(items[j], items[i], sort)) {
                    ASSERT_LT(items[j].level, items[i].level) << "equal items changed places";
                }
            }
        }
    }
}

TEST(Sorting, types_are_toggled_but_for_the_two_that_have_one_order)
{
    EXPECT_EQ(SortType::by_size(asc).toggled(), SortType::by_size(desc));
    EXPECT_EQ(SortType::by_custom_order().toggled(), SortType::by_custom_order());
    EXPECT_EQ(SortType::by_folders_first().toggled(), SortType::by_folders_first());
    EXPECT_EQ(SortType::by_folders_first().order(), asc);
    EXPECT_EQ(SortType::by_natural_name(asc).with_folders_first().toggled(),
              SortType::by_natural_name(desc).with_folders_first());
    EXPECT_NE(SortType::by_name(desc), SortType::by_size(desc));
}

} // namespace
} // namespace orv::test
