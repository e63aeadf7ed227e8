#include "folder/RandomChanges.hpp"
#include "support/Engine.hpp"

#include <orv/integrations/gtk_model.hpp>

namespace orv::test {
namespace {

class GtkModelTest : public EngineTest {
protected:
    static void wait_until(const std::function<bool()>& predicate)
    {
        for (int i = 0; i < 100'000 && !predicate(); ++i)
            g_main_context_iteration(nullptr, TRUE);
        ASSERT_TRUE(predicate());
    }

    /// What a list widget has that follows the list by what it is told.
    void follow(GListModel* list)
    {
        g_signal_connect(list, "items-changed", G_CALLBACK(take), &shown_);
    }

    static std::string name_at(GListModel* list, guint position)
    {
        auto* info = static_cast<GFileInfo*>(g_list_model_get_item(list, position));
        std::string name = g_file_info_get_name(info);
        g_object_unref(info);
        return name;
    }

    std::vector<std::string> shown_;
    const GlibAttachment attachment_;

private:
    static void take(GListModel* list, guint position, guint removed, guint added,
                     std::vector<std::string>* shown)
    {
        const auto first = shown->begin() + position;
        shown->erase(first, first + removed);
        for (guint i = 0; i < added; ++i)
            shown->insert(shown->begin() + position + i, name_at(list, position + i));
    }
};

TEST_F(GtkModelTest, tells_a_list_every_change)
{
    make_tree(folder(), {"a=1"});
    GtkFolderModel model(folder(), SortType::by_name(SortOrder::asc), {});
    follow(model.list());
    RandomChanges changes(folder(), 5);
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < 25; ++i)
            changes.make_one();
        g_main_context_iteration(nullptr, FALSE);
        if (round % 10 == 0)
            model.rows().set_sort(round % 20 == 0 ? SortType::by_size(SortOrder::desc)
                                                  : SortType::by_name(SortOrder::desc));
    }
    write_file(at("last"), "1");
    wait_until([&] { return model.rows().row_of("last").has_value(); });
    std::vector<std::string> names;
    for (guint i = 0; i < g_list_model_get_n_items(model.list()); ++i)
        names.push_back(name_at(model.list(), i));
    EXPECT_EQ(shown_, names);
}

TEST_F(GtkModelTest, describes_an_item_in_an_object_that_stays_the_same)
{
    make_tree(folder(), {"a\xff.txt=12345"});
    GtkFolderModel model(folder(), SortType::by_name(SortOrder::asc), {});
    wait_until([&] { return model.rows().is_complete(); });
    auto* info = static_cast<GFileInfo*>(g_list_model_get_item(model.list(), 0));
    auto* again = static_cast<GFileInfo*>(g_list_model_get_item(model.list(), 0));
    EXPECT_EQ(info, again);
    EXPECT_EQ(g_file_info_get_size(info), 5);
    EXPECT_EQ(g_file_info_get_file_type(info), G_FILE_TYPE_REGULAR);
    auto* file = reinterpret_cast<GFile*>(g_file_info_get_attribute_object(info, "standard::file"));
    EXPECT_EQ(from_gfile(file), at("a\xff.txt"));
    EXPECT_EQ(g_list_model_get_item(model.list(), 1), nullptr);
    g_object_unref(info);
    g_object_unref(again);
}

TEST_F(GtkModelTest, does_nothing_for_an_owner_that_is_gone)
{
    int calls = 0;
    auto* owner = static_cast<GObject*>(g_object_new(G_TYPE_OBJECT, nullptr));
    auto closure = while_alive(owner, [&](int by) { calls += by; });
    closure(1);
    g_object_unref(owner);
    closure(1);
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace orv::test
