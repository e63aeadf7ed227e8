#include "Folder/RowList.hpp"

#include <orv/Folder/FolderModel.hpp>
#include <orv/utility/Match.hpp>

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

namespace orv {
namespace {

/// The rows by name, in several tables: a single one, when it grows, would move the names of a
/// large folder at once and hold the main thread up.
class RowsByName {
public:
    [[nodiscard]] Row* find(std::string_view name) const
    {
        const Table& table = tables_[place(name)];
        const auto found = table.find(name);
        return found == table.end() ? nullptr : found->second.get();
    }

    void insert(std::unique_ptr<Row> row)
    {
        const std::string_view name = row->item.name;
        tables_[place(name)].emplace(name, std::move(row));
    }

    [[nodiscard]] std::unique_ptr<Row> take(std::string_view name)
    {
        auto held = tables_[place(name)].extract(name);
        return std::move(held.mapped());
    }

    void clear() { tables_ = {}; }

private:
    using Table =
        std::unordered_map<std::string_view, std::unique_ptr<Row>>; // keys lie in the rows

    static constexpr std::size_t count = 16;

    static std::size_t place(std::string_view name)
    {
        // Bits other than those a table uses.
        return std::hash<std::string_view>()(name) >> 48U & (count - 1);
    }

    std::array<Table, count> tables_;
};

} // namespace

class FolderModel::Impl : public std::enable_shared_from_this<FolderModel::Impl> {
public:
    Impl(SortType sort, Listener listener) : sort_(sort), listener_(std::move(listener)) {}

    void start(Url url, OrvFolder::Options options)
    {
        folder_.emplace(std::move(url), sort_, options,
                        [self = shared_from_this()](OrvFolder::Status status) {
                            self->take(std::move(status));
                        });
    }

    /// Announces nothing more.
    void end()
    {
        has_ended_ = true;
        folder_.reset();
    }

    [[nodiscard]] OrvFolder& folder() { return *folder_; }
    [[nodiscard]] const RowList& rows() const { return rows_; }
    [[nodiscard]] SortType sort() const { return sort_; }
    [[nodiscard]] bool is_complete() const { return is_complete_; }

    [[nodiscard]] std::optional<std::size_t> row_of(std::string_view name) const
    {
        const Row* row = by_name_.find(name);
        return row ? std::optional(rows_.index_of(*row)) : std::nullopt;
    }

    void set_sort(SortType sort)
    {
        folder_->set_sort(sort);
        sort_ = sort;
        const std::vector<Row*> before = rows_.all();
        std::vector<std::pair<Row*, std::size_t>> order;
        order.reserve(before.size());
        for (std::size_t i = 0; i < before.size(); ++i) {
            before[i]->key = OrderKey::of(before[i]->item, sort);
            order.emplace_back(before[i], i);
        }
        std::sort(order.begin(), order.end(), [&](const auto& one, const auto& other) {
            return comes_before(one.first->key, other.first->key, sort);
        });
        reordered change;
        std::vector<Row*> after;
        for (const auto& [row, former] : order) {
            after.push_back(row);
            change.former.push_back(former);
        }
        announce(std::move(change), [&] { rows_.assign(after); });
    }

private:
    void take(OrvFolder::Status status)
    {
        match(
            std::move(status), [&](OrvFolder::added&& told) { insert(std::move(told.items)); },
            [&](OrvFolder::removed&& told) { remove(told.names); },
            [&](OrvFolder::changed&& told) {
                for (FileItem& item : told.items)
                    update(std::move(item));
            },
            [&](OrvFolder::renamed&& told) {
                for (auto& [from, item] : told.items)
                    rename(from, std::move(item));
            },
            [&](OrvFolder::complete&&) {
                is_complete_ = true;
                if (listener_.on_complete)
                    listener_.on_complete();
            },
            [&](OrvFolder::compared&& told) {
                if (listener_.on_compared)
                    listener_.on_compared(told);
            },
            [&](OrvFolder::gone&& told) { remove_all(told.error); });
    }

    void announce(const RowChange& change, FunctionRef<void()> apply)
    {
        if (listener_.on_rows && !has_ended_)
            listener_.on_rows(change, apply);
        else
            apply();
    }

    /// New rows, each batch of neighbours at once.
    void insert(std::vector<FileItem> items)
    {
        std::vector<std::unique_ptr<Row>> fresh;
        fresh.reserve(items.size());
        for (FileItem& item : items) {
            OrderKey key = OrderKey::of(item, sort_);
            fresh.push_back(std::make_unique<Row>(Row{std::move(item), std::move(key)}));
        }
        const auto is_before = [&](const auto& one, const auto& other) {
            return comes_before(one->key, other->key, sort_);
        };
        // A batch comes sorted, unless equal names or a new order interfere.
        if (!std::is_sorted(fresh.begin(), fresh.end(), is_before))
            std::sort(fresh.begin(), fresh.end(), is_before);
        for (auto first = fresh.begin(); first != fresh.end();) {
            const std::size_t at = rows_.rows_before((*first)->key, sort_);
            const auto last = end_of_run(first, fresh.end(), at);
            announce(inserted{at, static_cast<std::size_t>(last - first)}, [&] {
                for (std::size_t index = at; first != last; ++first)
                    take_in(index++, std::move(*first));
            });
        }
    }

    /// The first new row that does not come before the row `at`.
    template <class Iterator>
    Iterator end_of_run(Iterator first, Iterator end, std::size_t at)
    {
        if (at == rows_.size())
            return end;
        const OrderKey& next = rows_[at].key;
        return std::find_if(std::next(first), end,
                            [&](const auto& row) { return !comes_before(row->key, next, sort_); });
    }

    void take_in(std::size_t index, std::unique_ptr<Row> row)
    {
        rows_.insert(index, *row);
        by_name_.insert(std::move(row));
    }

    void remove(const std::vector<std::string>& names)
    {
        std::vector<std::size_t> indices;
        for (const std::string& name : names)
            if (const auto index = row_of(name))
                indices.push_back(*index);
        std::sort(indices.begin(), indices.end(), std::greater<>()); // the last rows first
        for (auto at = indices.begin(); at != indices.end();) {
            auto end = std::next(at);
            while (end != indices.end() && *end + 1 == *std::prev(end))
                ++end;
            const std::size_t first = *std::prev(end);
            const auto count = static_cast<std::size_t>(end - at);
            announce(removed{first, count}, [&] { drop(first, count); });
            at = end;
        }
    }

    void drop(std::size_t first, std::size_t count)
    {
        for (std::size_t index = first + count; index-- > first;) {
            Row& row = rows_[index];
            rows_.erase(row);
            static_cast<void>(by_name_.take(row.item.name)); // ends it
        }
    }

    void remove_all(const Error& error)
    {
        if (const std::size_t count = rows_.size(); count > 0)
            announce(removed{0, count}, [&] {
                rows_.assign({});
                by_name_.clear();
            });
        if (listener_.on_gone && !has_ended_)
            listener_.on_gone(error);
    }

    void update(FileItem item)
    {
        if (Row* row = by_name_.find(item.name))
            put(*row, std::move(item));
    }

    void rename(const std::string& from, FileItem item)
    {
        if (Row* row = by_name_.find(from))
            put(*row, std::move(item));
    }

    /// Gives the row an item, with its place and its name.
    void put(Row& row, FileItem item)
    {
        OrderKey key = OrderKey::of(item, sort_);
        const std::size_t from = rows_.index_of(row);
        const auto fill = [&] {
            auto held = by_name_.take(row.item.name);
            row.item = std::move(item);
            row.key = std::move(key);
            by_name_.insert(std::move(held));
        };
        if (has_place_at(from, key)) {
            announce(changed{from, 1}, fill);
            return;
        }
        std::size_t to = rows_.rows_before(key, sort_);
        if (to > from)
            --to; // it counted the row itself
        announce(moved{from, to}, [&] {
            rows_.erase(row);
            fill();
            rows_.insert(to, row);
        });
        announce(changed{to, 1}, [] {});
    }

    /// True if a row with `key` may stay where the row `index` is.
    [[nodiscard]] bool has_place_at(std::size_t index, const OrderKey& key) const
    {
        const bool is_behind = index == 0 || comes_before(rows_[index - 1].key, key, sort_);
        return is_behind &&
               (index + 1 == rows_.size() || comes_before(key, rows_[index + 1].key, sort_));
    }

    SortType sort_;
    const Listener listener_;
    std::optional<OrvFolder> folder_;
    RowsByName by_name_;
    RowList rows_;
    bool is_complete_ = false;
    bool has_ended_ = false;
};

FolderModel::FolderModel(Url url, SortType sort, OrvFolder::Options options, Listener listener)
    : impl_(std::make_shared<Impl>(sort, std::move(listener)))
{
    options.recursive = false;
    impl_->start(std::move(url), options);
}

FolderModel::~FolderModel()
{
    impl_->end();
}

const Url& FolderModel::url() const
{
    return impl_->folder().url();
}

std::size_t FolderModel::size() const
{
    return impl_->rows().size();
}

const FileItem& FolderModel::item(std::size_t row) const
{
    return impl_->rows()[row].item;
}

std::optional<std::size_t> FolderModel::row_of(std::string_view name) const
{
    return impl_->row_of(name);
}

bool FolderModel::is_complete() const
{
    return impl_->is_complete();
}

void FolderModel::set_sort(SortType sort)
{
    impl_->set_sort(sort);
}

SortType FolderModel::sort() const
{
    return impl_->sort();
}

void FolderModel::set_include_hidden_files(bool include)
{
    impl_->folder().set_include_hidden_files(include);
}

bool FolderModel::include_hidden_files() const
{
    return impl_->folder().include_hidden_files();
}

} // namespace orv
