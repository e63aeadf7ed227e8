#pragma once

#include <orv/Facade/OrvFileManager.hpp>
#include <orv/Folder/FolderModel.hpp>
#include <orv/ThumbGenerator/ThumbnailQueue.hpp>
#include <orv/integrations/qt.hpp>
#include <orv/integrations/qt_image.hpp>
#include <orv/integrations/qt_url.hpp>
#include <orv/utility/Match.hpp>

#include <QAbstractFileIconProvider>
#include <QAbstractTableModel>
#include <QCache>
#include <QDateTime>
#include <QIcon>
#include <QLocale>
#include <QMimeData>
#include <QMimeDatabase>
#include <QPixmap>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

namespace orv {

/// Thumbnails for the rows a view draws, made on the first request. Requests of one turn of the
/// loop are served in their order, before earlier ones; the oldest are dropped.
///
/// Threading: main thread.
class QtThumbnails {
public:
    /// Calls `on_made` with the name of the item. `edge_pixels` is the edge of the square around a
    /// thumbnail.
    QtThumbnails(int edge_pixels, std::function<void(const std::string&)> on_made)
        : edge_pixels_(static_cast<std::uint32_t>(edge_pixels)), on_made_(std::move(on_made))
    {
    }

    /// The thumbnail of an item; none if there is none yet, or never.
    QIcon of(const FileItem& item)
    {
        if (const QIcon* made = made_.object(item.name))
            return *made;
        if (item.size)
            wish(item.url);
        return {};
    }

    /// True while the thumbnail of a drawn row is on its way.
    [[nodiscard]] bool is_busy() const { return !requests_.empty() || !wishes_.empty(); }

    /// The item's content is another one now, or the item is gone.
    void forget(const FileItem& item)
    {
        made_.remove(item.name);
        std::erase(wishes_, item.url);
    }

    void clear()
    {
        queue_.reset();
        requests_.clear();
        wishes_.clear();
        made_.clear();
    }

private:
    void wish(const Url& url)
    {
        if (requests_.empty())
            main_async([this, alive = std::weak_ptr<int>(lifetime_)] {
                if (!alive.expired())
                    set_wishes();
            });
        requests_.push_back(url);
    }

    void set_wishes()
    {
        constexpr std::size_t most_wishes = 512; // more than a window shows
        std::vector<Url> wishes = std::exchange(requests_, {});
        std::unordered_set<Url> new_ones(wishes.begin(), wishes.end());
        for (const Url& url : wishes_) {
            if (new_ones.erase(url) == 0)
                wishes.push_back(url);
        }
        wishes.resize(std::min(wishes.size(), most_wishes));
        if (!queue_)
            queue_.emplace(ThumbnailQueue::Box{edge_pixels_, edge_pixels_},
                           ThumbnailQueue::Options{}, [this](const auto& made) { take(made); });
        queue_->set_wishes(wishes);
        for (const Url& url : new_ones)
            queue_->renew(url); // it may still list a former content as delivered
        wishes_ = std::move(wishes);
    }

    void take(const ThumbnailQueue::Made& made)
    {
        if (std::erase(wishes_, made.url) == 0)
            return; // forgotten in the meantime
        const std::string name = made.url.last_path_component();
        auto icon = std::make_unique<QIcon>();
        if (!made.is_placeholder)
            *icon = QPixmap::fromImage(to_qimage(made.thumb));
        made_.insert(name, icon.release());
        if (!made.is_placeholder)
            on_made_(name);
    }

    const std::uint32_t edge_pixels_;
    const std::function<void(const std::string&)> on_made_;
    QCache<std::string, QIcon> made_{2000};
    std::vector<Url> requests_; // of this turn of the loop
    std::vector<Url> wishes_;   // not delivered yet
    std::shared_ptr<int> lifetime_ = std::make_shared<int>(0);
    std::optional<ThumbnailQueue> queue_; // goes first
};

/// A folder as the model of Qt's views: a row for each item, with its name, size, kind and date,
/// kept in order and true. Needs Qt's Gui.
///
///     orv::QtFolderModel model;
///     model.set_folder("/home/me/Pictures");
///     view.setModel(&model);
///
/// Names are editable: an edit starts a rename. Items can be dragged as "text/uri-list". `on_drop`
/// receives dropped items. A view sortable by its headers sorts the folder.
///
/// Threading: Qt's main thread, beside a `QtAttachment`.
class QtFolderModel : public QAbstractTableModel {
public:
    enum Column { name_column, size_column, kind_column, date_column, column_count };
    enum Role {
        url_role = Qt::UserRole + 1, ///< a QUrl
        path_role,                   ///< a QString
        is_folder_role,              ///< a bool
        size_role,                   ///< a qint64, for files
        date_role,                   ///< a QDateTime
        protected_role               ///< a bool, of the stored attributes
    };

    /// Notices for an application; each may be empty.
    struct Handlers {
        std::function<void()> on_complete = {};
        std::function<void(const OrvFolder::compared&)> on_compared = {};
        std::function<void(const Error&)> on_gone = {};
        /// A renaming failed.
        std::function<void(const Error&)> on_failure = {};
        /// A drop into `folder`, to copy, move or link the items there.
        std::function<void(std::vector<Url> items, Url folder, Qt::DropAction)> on_drop = {};
    };

    explicit QtFolderModel(QObject* parent = nullptr) : QAbstractTableModel(parent) {}

    void set_handlers(Handlers handlers) { handlers_ = std::move(handlers); }

    /// The icons of folders and of files without a thumbnail; at first those of the desktop's
    /// theme.
    void set_icon_provider(std::unique_ptr<QAbstractFileIconProvider> icons)
    {
        icons_ = std::move(icons);
    }

    /// True while the thumbnail of a drawn row is on its way.
    [[nodiscard]] bool is_making_thumbnails() const { return thumbnails_.is_busy(); }

    /// Shows another folder.
    void set_folder(const Url& url,
                    SortType sort = SortType::by_natural_name(SortOrder::asc).with_folders_first(),
                    OrvFolder::Options options = {})
    {
        beginResetModel();
        thumbnails_.clear();
        rows_.reset();
        rows_ = std::make_unique<FolderModel>(
            url, sort, options,
            FolderModel::Listener{
                .on_rows = [this](const auto& change, auto apply) { take(change, apply); },
                .on_complete = [this] { call(handlers_.on_complete); },
                .on_compared = [this](const auto& told) { call(handlers_.on_compared, told); },
                .on_gone = [this](const Error& error) { call(handlers_.on_gone, error); }});
        endResetModel();
    }

    /// The rows; null before the first folder.
    [[nodiscard]] FolderModel* rows() const { return rows_.get(); }

    /// The item of a valid index; valid until the rows change.
    [[nodiscard]] const FileItem& item(const QModelIndex& index) const
    {
        return rows_->item(static_cast<std::size_t>(index.row()));
    }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() || !rows_ ? 0 : static_cast<int>(rows_->size());
    }

    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : column_count;
    }

    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override
    {
        if (!index.isValid() || !rows_ || index.row() >= rowCount())
            return {};
        const FileItem& shown = item(index);
        switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return text(shown, index.column());
        case Qt::DecorationRole:
            return index.column() == name_column ? QVariant(icon(shown)) : QVariant();
        case Qt::TextAlignmentRole:
            return index.column() == size_column ? QVariant(Qt::AlignRight | Qt::AlignVCenter)
                                                 : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
        case url_role:
            return to_qurl(shown.url);
        case path_role:
            return to_qstring(shown.url.path());
        case is_folder_role:
            return shown.is_dir;
        case size_role:
            return shown.size ? QVariant(static_cast<qint64>(*shown.size)) : QVariant();
        case date_role:
            return date(shown);
        case protected_role:
            return shown.custom_attributes.is_protected;
        default:
            return {};
        }
    }

    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role = Qt::DisplayRole) const override
    {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
            return {};
        switch (section) {
        case name_column:
            return tr("Name");
        case size_column:
            return tr("Size");
        case kind_column:
            return tr("Kind");
        case date_column:
            return tr("Modified");
        default:
            return {};
        }
    }

    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        if (!index.isValid())
            return Qt::ItemIsDropEnabled; // into the folder shown
        Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
                              Qt::ItemNeverHasChildren;
        if (index.column() == name_column)
            flags |= Qt::ItemIsEditable;
        if (item(index).is_plain_dir())
            flags |= Qt::ItemIsDropEnabled;
        return flags;
    }

    /// Starts a rename; the row follows at its end.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override
    {
        if (!index.isValid() || role != Qt::EditRole || index.column() != name_column)
            return false;
        const QString name = value.toString();
        if (name == to_qstring(item(index).name))
            return false;
        OrvFileManager::singleton().rename(
            item(index).url, name.toStdString(), while_alive(this, [this](const auto& status) {
                if (const auto* failed = std::get_if<status::error>(&status))
                    call(handlers_.on_failure, failed->error);
            }));
        return true;
    }

    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override
    {
        if (rows_)
            rows_->set_sort(sort_by(column, order));
    }

    [[nodiscard]] QStringList mimeTypes() const override
    {
        return {QStringLiteral("text/uri-list")};
    }

    [[nodiscard]] QMimeData* mimeData(const QModelIndexList& indexes) const override
    {
        QList<QUrl> urls;
        for (const QModelIndex& index : indexes)
            if (index.column() == name_column)
                urls.push_back(to_qurl(item(index).url));
        auto data = std::make_unique<QMimeData>();
        data->setUrls(urls);
        return data.release();
    }

    [[nodiscard]] Qt::DropActions supportedDropActions() const override
    {
        return Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
    }

    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int /*row*/, int /*column*/,
                      const QModelIndex& parent) override
    {
        if (!rows_ || !handlers_.on_drop)
            return false;
        std::vector<Url> items;
        for (const QUrl& url : data->urls())
            if (auto local = from_qurl(url))
                items.push_back(std::move(*local));
        const Url folder = parent.isValid() ? item(parent).url : rows_->url();
        if (!items.empty())
            handlers_.on_drop(std::move(items), folder, action);
        return !items.empty();
    }

private:
    template <class Handler, class... Arguments>
    static void call(const Handler& handler, const Arguments&... arguments)
    {
        if (handler)
            handler(arguments...);
    }

    [[nodiscard]] static SortType sort_by(int column, Qt::SortOrder qt_order)
    {
        const SortOrder order = qt_order == Qt::AscendingOrder ? SortOrder::asc : SortOrder::desc;
        switch (column) {
        case size_column:
            return SortType::by_size(order).with_folders_first();
        case kind_column:
            return SortType::by_extension(order).with_folders_first();
        case date_column:
            return SortType::by_modification_date(order).with_folders_first();
        default:
            return SortType::by_natural_name(order).with_folders_first();
        }
    }

    [[nodiscard]] static QVariant date(const FileItem& item)
    {
        if (!item.modification_date)
            return {};
        const auto since_epoch = item.modification_date->time_since_epoch();
        return QDateTime::fromMSecsSinceEpoch(
            std::chrono::floor<std::chrono::milliseconds>(since_epoch).count());
    }

    [[nodiscard]] QVariant text(const FileItem& item, int column) const
    {
        switch (column) {
        case name_column:
            return to_qstring(item.name);
        case size_column:
            return item.size ? QLocale().formattedDataSize(*item.size) : QString();
        case kind_column:
            return item.is_dir
                       ? tr("Folder")
                       : mime_types_
                             .mimeTypeForFile(to_qstring(item.name), QMimeDatabase::MatchExtension)
                             .comment();
        case date_column:
            return QLocale().toString(date(item).toDateTime(), QLocale::ShortFormat);
        default:
            return {};
        }
    }

    [[nodiscard]] QIcon icon(const FileItem& item) const
    {
        if (QIcon thumbnail = thumbnails_.of(item); !thumbnail.isNull())
            return thumbnail;
        return icons_->icon(item.is_dir ? QAbstractFileIconProvider::Folder
                                        : QAbstractFileIconProvider::File);
    }

    void show_thumbnail(const std::string& name)
    {
        if (const auto row = rows_->row_of(name)) {
            const QModelIndex shown = index(static_cast<int>(*row), name_column);
            Q_EMIT dataChanged(shown, shown, {Qt::DecorationRole});
        }
    }

    void forget_thumbnails(std::size_t first, std::size_t count)
    {
        for (std::size_t row = first; row < first + count; ++row)
            thumbnails_.forget(rows_->item(row));
    }

    void take(const FolderModel::RowChange& change, FunctionRef<void()> apply)
    {
        const auto last_of = [](const auto& rows) {
            return static_cast<int>(rows.first + rows.count - 1);
        };
        orv::match(
            change,
            [&](const FolderModel::inserted& rows) {
                beginInsertRows({}, static_cast<int>(rows.first), last_of(rows));
                apply();
                endInsertRows();
            },
            [&](const FolderModel::removed& rows) {
                beginRemoveRows({}, static_cast<int>(rows.first), last_of(rows));
                forget_thumbnails(rows.first, rows.count);
                apply();
                endRemoveRows();
            },
            [&](const FolderModel::moved& row) {
                const int from = static_cast<int>(row.from);
                // Qt counts the destination with the row at its old place.
                const int to = static_cast<int>(row.to > row.from ? row.to + 1 : row.to);
                beginMoveRows({}, from, from, {}, to);
                apply();
                endMoveRows();
            },
            [&](const FolderModel::changed& rows) {
                apply();
                forget_thumbnails(rows.first, rows.count);
                Q_EMIT dataChanged(index(static_cast<int>(rows.first), 0),
                                   index(last_of(rows), column_count - 1));
            },
            [&](const FolderModel::reordered& rows) { reorder(rows.former, apply); });
    }

    void reorder(const std::vector<std::size_t>& former, FunctionRef<void()> apply)
    {
        Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
        std::vector<int> now(former.size());
        for (std::size_t row = 0; row < former.size(); ++row)
            now[former[row]] = static_cast<int>(row);
        apply();
        const QModelIndexList before = persistentIndexList();
        QModelIndexList after;
        for (const QModelIndex& index : before)
            after.push_back(
                this->index(now[static_cast<std::size_t>(index.row())], index.column()));
        changePersistentIndexList(before, after);
        Q_EMIT layoutChanged({}, VerticalSortHint);
    }

    Handlers handlers_;
    QMimeDatabase mime_types_;
    std::unique_ptr<QAbstractFileIconProvider> icons_ =
        std::make_unique<QAbstractFileIconProvider>();
    mutable QtThumbnails thumbnails_{128,
                                     [this](const std::string& name) { show_thumbnail(name); }};
    std::unique_ptr<FolderModel> rows_; // goes first
};

} // namespace orv
