#include "examples/GtkBrowser.hpp"
#include "support/Engine.hpp"

#include <orv/integrations/glib.hpp>

namespace orv::test {
namespace {

class GtkBrowserTest : public EngineTest {
protected:
    static void wait_until(const std::function<bool()>& predicate)
    {
        const auto start = std::chrono::steady_clock::now();
        while (!predicate() && std::chrono::steady_clock::now() - start < std::chrono::seconds(30))
            g_main_context_iteration(nullptr, TRUE);
        ASSERT_TRUE(predicate());
    }

    /// The images below the widget that show a thumbnail.
    static std::vector<GdkPaintable*> thumbnails_below(GtkWidget* widget)
    {
        std::vector<GdkPaintable*> found;
        if (GTK_IS_IMAGE(widget) &&
            gtk_image_get_storage_type(reinterpret_cast<GtkImage*>(widget)) == GTK_IMAGE_PAINTABLE)
            found.push_back(gtk_image_get_paintable(reinterpret_cast<GtkImage*>(widget)));
        for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
             child = gtk_widget_get_next_sibling(child)) {
            const auto more = thumbnails_below(child);
            found.insert(found.end(), more.begin(), more.end());
        }
        return found;
    }

    const GlibAttachment attachment_;
};

TEST_F(GtkBrowserTest, shows_thumbnails_and_copies_with_a_question)
{
    make_tree(folder(), {"here/", "there/"});
    const std::vector<std::uint8_t> grey(std::size_t{4} * 64 * 32, 255);
    const auto png = Picture(64, 32, grey).png();
    write_file(at("here/picture.png"),
               std::string_view(reinterpret_cast<const char*>(png.data()), png.size()));
    write_file(at("here/note.txt"), "text");
    write_file(at("there/picture.png"), "another");

    example::GtkBrowser browser(at("here"));
    wait_until([&] { return thumbnails_below(browser.list()).size() == 1; });
    GdkPaintable* shown = thumbnails_below(browser.list()).front();
    EXPECT_EQ(gdk_paintable_get_intrinsic_width(shown), 64);
    EXPECT_EQ(gdk_paintable_get_intrinsic_height(shown), 32);
    EXPECT_EQ(browser.said(), "2 items");

    browser.copy({at("there/picture.png")}, at("here"));
    wait_until([&] { return browser.asks(); });
    browser.answer(ConflictBehaviour::keep_both);
    wait_until([&] { return browser.said() == "Copied"; });
    EXPECT_EQ(read_file(at("here/picture 2.png")), "another");
    FolderModel& rows = browser.model().rows();
    wait_until([&] { return rows.row_of("picture 2.png").has_value(); });

    // A file with other content gets another thumbnail.
    const auto other = Picture(32, 64, grey).png();
    write_file(at("here/picture.png"),
               std::string_view(reinterpret_cast<const char*>(other.data()), other.size()));
    wait_until([&] {
        const auto now = thumbnails_below(browser.list());
        return now.size() == 1 && gdk_paintable_get_intrinsic_height(now.front()) == 64;
    });

    browser.open(at("there"));
    wait_until([&] { return browser.said() == "1 items"; });
    EXPECT_TRUE(thumbnails_below(browser.list()).empty());
}

} // namespace
} // namespace orv::test

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    gtk_init();
    return RUN_ALL_TESTS();
}
