#include "Misc/OrderKey.hpp"
#include "files/FolderWatch.hpp"
#include "folder/RandomChanges.hpp"
#include "support/Engine.hpp"

#include <cstdlib>
#include <set>

namespace orv::test {
namespace {

/// A list widget: it holds what the model announced, and no more.
class Widget {
public:
    explicit Widget(const FolderModel& model) : model_(model) {}

    void take(const FolderModel::RowChange& change, FunctionRef<void()> apply)
    {
        apply();
        match(
            change,
            [&](const FolderModel::inserted& rows) {
                std::vector<std::string> fresh;
                for (std::size_t i = 0; i < rows.count; ++i)
                    fresh.push_back(shown(rows.first + i));
                rows_.insert(place(rows.first), fresh.begin(), fresh.end());
            },
            [&](const FolderModel::removed& rows) {
                rows_.erase(place(rows.first), place(rows.first + rows.count));
            },
            [&](const FolderModel::moved& row) {
                std::string text = std::move(rows_[row.from]);
                rows_.erase(place(row.from));
                rows_.insert(place(row.to), std::move(text));
            },
            [&](const FolderModel::changed& rows) {
                for (std::size_t i = rows.first; i < rows.first + rows.count; ++i)
                    rows_[i] = shown(i);
            },
            [&](const FolderModel::reordered& rows) {
                std::vector<std::string> before = std::move(rows_);
                rows_.clear();
                for (const std::size_t former : rows.former)
                    rows_.push_back(std::move(before[former]));
            });
    }

    [[nodiscard]] const std::vector<std::string>& rows() const { return rows_; }

private:
    [[nodiscard]] std::string shown(std::size_t row) const { return text_of(model_.item(row)); }
    [[nodiscard]] std::vector<std::string>::iterator place(std::size_t row)
    {
        return rows_.begin() + static_cast<std::ptrdiff_t>(row);
    }

public:
    static std::string text_of(const FileItem& item)
    {
        return item.name + " " + (item.size ? std::to_string(*item.size) : "-");
    }

private:
    const FolderModel& model_;
    std::vector<std::string> rows_;
};

constexpr SortType sorts[] = {
    SortType::by_name(SortOrder::asc),
    SortType::by_name(SortOrder::desc),
    SortType::by_size(SortOrder::asc),
    SortType::by_size(SortOrder::desc),
    SortType::by_modification_date(SortOrder::desc),
    SortType::by_extension(SortOrder::asc),
    SortType::by_folders_first(),
    SortType::by_custom_order(),
    SortType::by_natural_name(SortOrder::desc),
    SortType::by_size(SortOrder::desc).with_folders_first(),
};

class FolderModelTest : public EngineTest {
protected:
    FolderModelTest() { FolderWatch::set_bounds({.look_interval = std::chrono::milliseconds(20)}); }

    void show(SortType sort, OrvFolder::Options options = {})
    {
        std::optional<Widget> widget;
        widget_.reset();
        model_ = std::make_unique<FolderModel>(
            folder(), sort, options,
            FolderModel::Listener{.on_rows = [this](const auto& change, auto apply) {
                widget_->take(change, apply);
            }});
        widget_.emplace(*model_);
        pump_until([&] { return model_->is_complete(); });
    }

    /// The rows that a list has which is made now.
    [[nodiscard]] std::vector<std::string> listed_anew() const
    {
        std::vector<FileItem> items;
        for (const auto& entry : std::filesystem::directory_iterator(folder()))
            if (model_->include_hidden_files() ||
                !entry.path().filename().string().starts_with('.'))
                items.emplace_back(Url(entry.path()), folder());
        std::ranges::sort(items, [&](const FileItem& one, const FileItem& other) {
            return comes_before(OrderKey::of(one, model_->sort()),
                                OrderKey::of(other, model_->sort()), model_->sort());
        });
        std::vector<std::string> rows;
        for (const FileItem& item : items)
            rows.push_back(Widget::text_of(item));
        return rows;
    }

    void expect_true_soon()
    {
        const std::vector<std::string> rows = listed_anew();
        MainQueue::instance().run_until([&] { return widget_->rows() == rows; },
                                        std::chrono::seconds(10));
        std::vector<std::string> differ;
        const std::set<std::string> shown(widget_->rows().begin(), widget_->rows().end());
        const std::set<std::string> wanted(rows.begin(), rows.end());
        std::ranges::set_symmetric_difference(shown, wanted, std::back_inserter(differ));
        EXPECT_EQ(differ, std::vector<std::string>());
        ASSERT_TRUE(widget_->rows() == rows) << "sort " << static_cast<int>(model_->sort().key());
        ASSERT_EQ(model_->size(), rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            ASSERT_EQ(Widget::text_of(model_->item(i)), rows[i]);
            ASSERT_EQ(model_->row_of(model_->item(i).name), i);
        }
    }

    std::unique_ptr<FolderModel> model_;
    std::optional<Widget> widget_;
};

/// How many changes are made; a million when everything is to be proved.
int changes_wanted()
{
    const char* wanted = std::getenv("ORV_FOLDER_CHANGES");
    return wanted ? std::atoi(wanted) : 4'000;
}

TEST_F(FolderModelTest, is_what_a_new_listing_is_however_changes_interleave)
{
    const auto seed = static_cast<unsigned>(changes_wanted());
    RandomChanges changes(folder(), seed);
    std::mt19937 random(seed);
    const auto below = [&](int end) {
        return std::uniform_int_distribution<int>(0, end - 1)(random);
    };
    int made = 0;
    for (int round = 0; made < changes_wanted(); ++round) {
        if (round % 20 == 0)
            show(sorts[static_cast<std::size_t>(round / 20) % std::size(sorts)]);
        if (below(8) == 0)
            model_->set_sort(sorts[static_cast<std::size_t>(below(std::size(sorts)))]);
        if (below(12) == 0)
            model_->set_include_hidden_files(!model_->include_hidden_files());
        for (int left = below(200); left > 0; --left, ++made) {
            changes.make_one();
            if (below(10) == 0)
                MainQueue::instance().drain();
        }
        expect_true_soon();
        ASSERT_FALSE(testing::Test::HasFailure()) << "after " << made << " changes";
    }
}

TEST_F(FolderModelTest, orders_rows_as_a_sorted_list)
{
    make_tree(folder(),
              {"b.txt=1", "A.png=333", "c.txt=22", "sub/", "a.TXT=4444", "x=1", "d.png=1"});
    for (const SortType sort : sorts) {
        show(sort);
        std::vector<FileItem> items;
        for (std::size_t i = 0; i < model_->size(); ++i)
            items.push_back(model_->item(i));
        const auto names = [](const std::vector<FileItem>& list) {
            std::vector<std::string> result;
            for (const FileItem& item : list)
                result.push_back(item.name);
            return result;
        };
        const auto rows = names(items);
        orv_sort(items, sort); // equal items keep their order
        EXPECT_EQ(names(items), rows) << static_cast<int>(sort.key());
    }
}

TEST_F(FolderModelTest, takes_a_folder_of_many_items_in_pieces)
{
    constexpr int count = 5'000;
    write_file(at("0"), "");
    for (int i = 1; i < count; ++i)
        std::filesystem::create_hard_link(at("0"), at(std::to_string(i * 7919 % count)));
    show(SortType::by_name(SortOrder::asc));
    expect_true_soon();
    std::filesystem::remove_all(folder());
    pump_until([&] { return widget_->rows().empty(); });
    EXPECT_EQ(model_->size(), 0U);
}

} // namespace
} // namespace orv::test
