#pragma once

// A file browser in GTK 4: shows a folder live, with thumbnails; what is dropped is copied, with
// a question when a name is taken, and with progress.
#include <orv/integrations/gtk_model.hpp>
#include <orv/integrations/gtk_thumbnails.hpp>
#include <orv/orv.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtk/gtk.h>

namespace orv::example {

class GtkBrowser {
public:
    explicit GtkBrowser(const Url& folder)
    {
        GtkListItemFactory* factory = gtk_signal_list_item_factory_new();
        on(
            factory, "setup", +[](void*, GtkListItem* row, GtkBrowser*) { make_row(row); });
        on(
            factory, "bind", +[](void*, GtkListItem* row, GtkBrowser* self) { self->bind(row); });
        on(
            factory, "unbind", +[](void*, GtkListItem* row, GtkBrowser* self) {
                self->thumbnails_.hide(image_of(row));
            });
        list_ = as<GtkListView>(gtk_list_view_new(nullptr, factory));
        on(
            list_, "activate", +[](void*, guint row, GtkBrowser* self) { self->activate(row); });
        set_up_window();
        open(folder);
    }

    ~GtkBrowser()
    {
        if (copy_)
            copy_->cancel();
        gtk_list_view_set_model(list_, nullptr);
        gtk_window_destroy(window_.get());
    }

    GtkBrowser(const GtkBrowser&) = delete;
    GtkBrowser& operator=(const GtkBrowser&) = delete;

    /// Shows another folder.
    void open(const Url& folder)
    {
        auto model = std::make_unique<GtkFolderModel>(
            folder, SortType::by_natural_name(SortOrder::asc).with_folders_first(),
            OrvFolder::Options{},
            FolderModel::Listener{
                .on_complete = [this] { say(std::to_string(rows().size()) + " items"); },
                .on_compared = [this](const auto& told) { say(told.reason.sentence()); },
                .on_gone = [this](const Error& error) { say(error.sentence()); }});
        auto* selection = gtk_multi_selection_new(as<GListModel>(g_object_ref(model->list())));
        gtk_list_view_set_model(list_, as<GtkSelectionModel>(selection));
        g_object_unref(selection); // the view has it
        model_ = std::move(model);
        gtk_window_set_title(window_.get(), folder.last_path_component().c_str());
    }

    /// Copies items into a folder.
    void copy(const std::vector<Url>& items, const Url& into)
    {
        gtk_widget_show(progress_);
        const auto take = [this](const MultiCopyOperation::Status& status) {
            match(
                status, [](const status::preparing&) {},
                [&](const status::progress<CopyProgress>& told) {
                    gtk_progress_bar_set_fraction(as<GtkProgressBar>(progress_), told.record.value);
                },
                [&](const status::conflict_occured& taken) { ask(taken.resolver); },
                [&](const status::success&) { end_copy("Copied"); },
                [&](const status::cancelled&) { end_copy("Stopped"); },
                [&](const status::error& failed) { end_copy(failed.error.sentence()); });
        };
        copy_ = OrvFileManager::singleton().copy(items, into,
                                                 while_alive(as<GObject>(window_.get()), take));
    }

    /// Answers the question about a taken name.
    void answer(ConflictBehaviour behaviour)
    {
        gtk_widget_hide(question_);
        if (const auto resolver = std::exchange(resolver_, nullptr))
            resolver->resume(behaviour, false);
    }

    [[nodiscard]] GtkFolderModel& model() { return *model_; }
    [[nodiscard]] bool is_open() const
    {
        return gtk_widget_is_visible(as<GtkWidget>(window_.get()));
    }
    [[nodiscard]] bool asks() const { return resolver_ != nullptr; }
    [[nodiscard]] std::string said() const { return gtk_label_get_text(as<GtkLabel>(status_)); }
    [[nodiscard]] GtkWidget* list() const { return as<GtkWidget>(list_); }

private:
    template <class To>
    static To* as(void* object)
    {
        return static_cast<To*>(object);
    }

    template <class Function>
    void on(void* object, const char* signal, Function function)
    {
        g_signal_connect(object, signal, reinterpret_cast<GCallback>(function), this);
    }

    GtkWidget* button(const char* text, void (*clicked)(void*, GtkBrowser*))
    {
        GtkWidget* made = gtk_button_new_with_label(text);
        on(made, "clicked", clicked);
        return made;
    }

    void set_up_window()
    {
        window_.reset(as<GtkWindow>(g_object_ref(gtk_window_new())));
        gtk_window_set_default_size(window_.get(), 700, 500);
        on(
            window_.get(), "close-request", +[](GtkWidget* window, GtkBrowser*) {
                gtk_widget_hide(window); // it ends with the browser
                return gboolean{TRUE};
            });
        GtkWidget* bar = gtk_header_bar_new();
        gtk_header_bar_pack_start(as<GtkHeaderBar>(bar), button("Up", [](void*, auto* self) {
                                      self->open(self->rows().url().deleting_last_path_component());
                                  }));
        gtk_window_set_titlebar(window_.get(), bar);

        GtkWidget* scrolled = gtk_scrolled_window_new();
        gtk_widget_set_vexpand(scrolled, TRUE);
        gtk_scrolled_window_set_child(as<GtkScrolledWindow>(scrolled), list());
        GtkDropTarget* drop = gtk_drop_target_new(GDK_TYPE_FILE_LIST, GDK_ACTION_COPY);
        on(
            drop, "drop", +[](void*, const GValue* files, double, double, GtkBrowser* self) {
                return self->drop(files);
            });
        gtk_widget_add_controller(scrolled, as<GtkEventController>(drop));

        gtk_label_set_xalign(as<GtkLabel>(status_), 0);
        gtk_widget_set_hexpand(status_, TRUE);
        for (GtkWidget* part : {status_, progress_, button("Stop", [](void*, GtkBrowser* self) {
                                    if (self->copy_)
                                        self->copy_->cancel();
                                })})
            gtk_box_append(as<GtkBox>(bottom_), part);
        for (GtkWidget* part :
             {taken_,
              button("Replace",
                     [](void*, auto* self) { self->answer(ConflictBehaviour::replace); }),
              button("Keep both",
                     [](void*, auto* self) { self->answer(ConflictBehaviour::keep_both); }),
              button("Cancel", [](void*, auto* self) { self->answer(ConflictBehaviour::stop); })})
            gtk_box_append(as<GtkBox>(question_), part);
        GtkWidget* whole = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
        for (GtkWidget* part : {scrolled, question_, bottom_})
            gtk_box_append(as<GtkBox>(whole), part);
        gtk_widget_hide(progress_);
        gtk_widget_hide(question_);
        gtk_window_set_child(window_.get(), whole);
        gtk_window_present(window_.get());
    }

    static void make_row(GtkListItem* row)
    {
        GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
        GtkWidget* image = gtk_image_new();
        gtk_image_set_pixel_size(as<GtkImage>(image), 48);
        gtk_box_append(as<GtkBox>(box), image);
        gtk_box_append(as<GtkBox>(box), gtk_label_new(nullptr));
        gtk_list_item_set_child(row, box);
    }

    static GtkImage* image_of(GtkListItem* row)
    {
        return as<GtkImage>(gtk_widget_get_first_child(gtk_list_item_get_child(row)));
    }

    void bind(GtkListItem* row)
    {
        auto* info = as<GFileInfo>(gtk_list_item_get_item(row));
        GtkWidget* label = gtk_widget_get_last_child(gtk_list_item_get_child(row));
        gtk_label_set_text(as<GtkLabel>(label), g_file_info_get_display_name(info));
        thumbnails_.show(image_of(row), info, gtk_list_item_get_position(row));
    }

    void activate(guint row)
    {
        if (rows().item(row).is_dir)
            open(Url(rows().item(row).url));
    }

    /// Copies dropped files into the folder.
    gboolean drop(const GValue* files)
    {
        std::vector<Url> items;
        GSList* list = gdk_file_list_get_files(as<GdkFileList>(g_value_get_boxed(files)));
        for (GSList* file = list; file; file = file->next)
            if (auto url = from_gfile(as<GFile>(file->data)))
                items.push_back(std::move(*url));
        g_slist_free(list);
        if (!items.empty())
            copy(items, rows().url());
        return items.empty() ? FALSE : TRUE;
    }

    /// Asks about a taken name. The copy waits; the window does not.
    void ask(const std::shared_ptr<ConflictResolver>& resolver)
    {
        resolver_ = resolver;
        const std::string name = resolver->destination_url().last_path_component();
        gtk_label_set_text(as<GtkLabel>(taken_), ("The name is taken: " + name).c_str());
        gtk_widget_show(question_);
    }

    void end_copy(const std::string& text)
    {
        gtk_widget_hide(progress_);
        copy_.reset();
        say(text);
    }

    void say(const std::string& text) { gtk_label_set_text(as<GtkLabel>(status_), text.c_str()); }
    FolderModel& rows() { return model_->rows(); }

    struct Unreference {
        void operator()(void* object) const { g_object_unref(object); }
    };
    GtkThumbnails thumbnails_{96};
    std::unique_ptr<GtkWindow, Unreference> window_;
    GtkListView* list_ = nullptr;
    GtkWidget* status_ = gtk_label_new(nullptr);
    GtkWidget* progress_ = gtk_progress_bar_new();
    GtkWidget* bottom_ = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    GtkWidget* taken_ = gtk_label_new(nullptr);
    GtkWidget* question_ = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    std::shared_ptr<ConflictResolver> resolver_;
    std::shared_ptr<MultiCopyOperation> copy_;
    std::unique_ptr<GtkFolderModel> model_;
};

} // namespace orv::example
