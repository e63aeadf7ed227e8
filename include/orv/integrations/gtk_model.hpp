#pragma once

#include <orv/Folder/FolderModel.hpp>
#include <orv/integrations/gio.hpp>
#include <orv/integrations/glib.hpp>
#include <orv/utility/Match.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include <gio/gio.h>

namespace orv {

/// A folder as a `GListModel`, the model of GTK's list widgets: a `GFileInfo` for each item, with
/// its name, type, size, date and icon, and its `GFile` as the attribute "standard::file", kept in
/// order and true. Needs GIO alone.
///
///     orv::GtkFolderModel folder("/home/me", sort, {});
///     gtk_single_selection_new(G_LIST_MODEL(g_object_ref(folder.list())));
///
/// Threading: the main thread, beside a `GlibAttachment`.
/// Ownership: the list is empty once this ends, even if others hold it.
class GtkFolderModel {
public:
    /// The list tells its own listeners before it calls the listener's `on_rows`.
    GtkFolderModel(Url url, SortType sort, OrvFolder::Options options,
                   FolderModel::Listener listener = {})
        : list_(static_cast<List*>(g_object_new(list_type(), nullptr)))
    {
        list_->owner = this;
        auto also = std::exchange(listener.on_rows,
                                  [this](const auto& change, auto apply) { take(change, apply); });
        if (also)
            listener.on_rows = [this, also = std::move(also)](const auto& change, auto apply) {
                take(change, apply);
                also(change, [] {});
            };
        rows_ = std::make_unique<FolderModel>(std::move(url), sort, options, std::move(listener));
    }

    ~GtkFolderModel()
    {
        const auto count = static_cast<guint>(rows_->size());
        rows_.reset();
        list_->owner = nullptr;
        if (count > 0)
            g_list_model_items_changed(list(), 0, count, 0);
        g_object_unref(list_);
    }

    GtkFolderModel(const GtkFolderModel&) = delete;
    GtkFolderModel& operator=(const GtkFolderModel&) = delete;

    [[nodiscard]] GListModel* list() const
    {
        return static_cast<GListModel*>(static_cast<void*>(list_));
    }
    [[nodiscard]] FolderModel& rows() const { return *rows_; }

private:
    struct List {
        GObject parent;
        GtkFolderModel* owner;
    };
    struct ListClass {
        GObjectClass parent;
    };
    struct Unreference {
        void operator()(void* object) const { g_object_unref(object); }
    };
    using Info = std::unique_ptr<GFileInfo, Unreference>;

    static GType list_type()
    {
        static const GType type = [] {
            const GType made =
                g_type_register_static_simple(G_TYPE_OBJECT, "OrvFolderList", sizeof(ListClass),
                                              nullptr, sizeof(List), nullptr, GTypeFlags{});
            const GInterfaceInfo implementation{[](gpointer interface, gpointer) {
                                                    auto* model = static_cast<GListModelInterface*>(
                                                        interface);
                                                    model->get_item_type = item_type;
                                                    model->get_n_items = item_count;
                                                    model->get_item = item;
                                                },
                                                nullptr, nullptr};
            g_type_add_interface_static(made, G_TYPE_LIST_MODEL, &implementation);
            return made;
        }();
        return type;
    }

    static GtkFolderModel* owner_of(GListModel* list)
    {
        return static_cast<List*>(static_cast<void*>(list))->owner;
    }

    static GType item_type(GListModel* /*list*/) { return G_TYPE_FILE_INFO; }

    static guint item_count(GListModel* list)
    {
        const GtkFolderModel* owner = owner_of(list);
        return owner && owner->rows_ ? static_cast<guint>(owner->rows_->size()) : 0;
    }

    static gpointer item(GListModel* list, guint position)
    {
        if (position >= item_count(list))
            return nullptr;
        return g_object_ref(owner_of(list)->info(position));
    }

    /// The object of a row; it stays the same for the life of the item.
    GFileInfo* info(std::size_t row)
    {
        const FileItem& shown = rows_->item(row);
        Info& known = infos_[shown.name];
        if (!known)
            known = info_of(shown);
        return known.get();
    }

    static Info info_of(const FileItem& item)
    {
        Info info(g_file_info_new());
        const std::unique_ptr<GFile, Unreference> file(to_gfile(item.url));
        const std::unique_ptr<char, decltype(&g_free)> shown(
            g_filename_display_name(item.name.c_str()), &g_free);
        const std::unique_ptr<char, decltype(&g_free)> type(
            item.is_dir ? g_content_type_from_mime_type("inode/directory")
                        : g_content_type_guess(item.name.c_str(), nullptr, 0, nullptr),
            &g_free);
        const std::unique_ptr<GIcon, Unreference> icon(g_content_type_get_icon(type.get()));
        g_file_info_set_name(info.get(), item.name.c_str());
        g_file_info_set_display_name(info.get(), shown.get());
        g_file_info_set_content_type(info.get(), type.get());
        g_file_info_set_icon(info.get(), icon.get());
        g_file_info_set_is_hidden(info.get(), item.is_hidden ? TRUE : FALSE);
        g_file_info_set_file_type(info.get(), type_of(item));
        g_file_info_set_size(info.get(), item.size.value_or(0));
        if (item.modification_date)
            g_file_info_set_attribute_uint64(info.get(), G_FILE_ATTRIBUTE_TIME_MODIFIED,
                                             seconds(*item.modification_date));
        g_file_info_set_attribute_object(info.get(), "standard::file", G_OBJECT(file.get()));
        return info;
    }

    static GFileType type_of(const FileItem& item)
    {
        constexpr std::uint32_t kind_mask = 0170000;
        constexpr std::uint32_t link_kind = 0120000;
        if (item.is_dir)
            return G_FILE_TYPE_DIRECTORY;
        if ((item.mode & kind_mask) == link_kind)
            return G_FILE_TYPE_SYMBOLIC_LINK;
        return item.size ? G_FILE_TYPE_REGULAR : G_FILE_TYPE_SPECIAL;
    }

    static guint64 seconds(FileItem::Date date)
    {
        const auto since_epoch = std::chrono::floor<std::chrono::seconds>(date.time_since_epoch());
        return static_cast<guint64>(std::max<std::int64_t>(since_epoch.count(), 0));
    }

    void forget(std::size_t first, std::size_t count)
    {
        for (std::size_t row = first; row < first + count; ++row)
            infos_.erase(rows_->item(row).name);
    }

    void tell(std::size_t first, std::size_t removed, std::size_t added) const
    {
        g_list_model_items_changed(list(), static_cast<guint>(first), static_cast<guint>(removed),
                                   static_cast<guint>(added));
    }

    void take(const FolderModel::RowChange& change, FunctionRef<void()> apply)
    {
        match(
            change,
            [&](const FolderModel::inserted& rows) {
                apply();
                tell(rows.first, 0, rows.count);
            },
            [&](const FolderModel::removed& rows) {
                forget(rows.first, rows.count);
                apply();
                tell(rows.first, rows.count, 0);
            },
            [&](const FolderModel::moved& row) {
                forget(row.from, 1);
                apply();
                const std::size_t first = std::min(row.from, row.to);
                const std::size_t count = std::max(row.from, row.to) - first + 1;
                tell(first, count, count);
            },
            [&](const FolderModel::changed& rows) {
                forget(rows.first, rows.count);
                apply();
                forget(rows.first, rows.count);
                tell(rows.first, rows.count, rows.count);
            },
            [&](const FolderModel::reordered& rows) {
                apply();
                tell(0, rows.former.size(), rows.former.size());
            });
    }

    List* list_;
    std::unordered_map<std::string, Info> infos_; // by name, for requested rows
    std::unique_ptr<FolderModel> rows_;
};

} // namespace orv
