#pragma once

#include <orv/Folder/OrvFolder.hpp>
#include <orv/Misc/FileItem.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

namespace orv {

/// The rows of a list widget with a folder's items, always in order and up to date; knows no
/// toolkit.
///
/// Announces every difference as a change of rows any list widget takes. The rows change while
/// `apply` runs. The listener calls it once, between its widget's preparation and its widget's
/// update:
///
///     orv::FolderModel model(url, sort, {}, {.on_rows = [&](const auto& change, auto apply) {
///         widget.begin(change);
///         apply();
///         widget.end(change);
///     }});
///
/// Rows have the order of `orv_sort`; equal ones go by name.
///
/// Threading: main thread. May end inside a listener.
class FolderModel {
public:
    /// `count` rows; `first` is the new number of the first one.
    struct inserted {
        std::size_t first;
        std::size_t count;
    };

    /// `count` rows; `first` was the number of the first one.
    struct removed {
        std::size_t first;
        std::size_t count;
    };

    /// The row `from` becomes the row `to`, counted without it.
    struct moved {
        std::size_t from;
        std::size_t to;
    };

    /// `count` rows with a new look.
    struct changed {
        std::size_t first;
        std::size_t count;
    };

    /// All rows have another order. `former` holds the former number of each row.
    struct reordered {
        std::vector<std::size_t> former;
    };

    using RowChange = std::variant<inserted, removed, moved, changed, reordered>;

    struct Listener {
        /// Receives every change of rows. Leave it empty to announce nothing.
        std::function<void(const RowChange&, FunctionRef<void()> apply)> on_rows = {};
        /// All items from the beginning are in the rows.
        std::function<void()> on_complete = {};
        /// See `OrvFolder::compared`.
        std::function<void(const OrvFolder::compared&)> on_compared = {};
        /// The folder is gone, and so are the rows.
        std::function<void(const Error&)> on_gone = {};
    };

    /// Of the options, `recursive` must be false.
    FolderModel(Url url, SortType sort, OrvFolder::Options options, Listener listener);
    ~FolderModel();
    FolderModel(const FolderModel&) = delete;
    FolderModel& operator=(const FolderModel&) = delete;

    [[nodiscard]] const Url& url() const;
    [[nodiscard]] std::size_t size() const;

    /// The item of a row below `size()`; valid until the rows change.
    [[nodiscard]] const FileItem& item(std::size_t row) const;

    /// The row of the item with that name.
    [[nodiscard]] std::optional<std::size_t> row_of(std::string_view name) const;

    [[nodiscard]] bool is_complete() const;

    /// Sorts the rows in another way, at once.
    void set_sort(SortType sort);
    [[nodiscard]] SortType sort() const;

    /// Takes hidden items in or out; the rows follow soon.
    void set_include_hidden_files(bool include);
    [[nodiscard]] bool include_hidden_files() const;

private:
    class Impl;
    std::shared_ptr<Impl> impl_;
};

} // namespace orv
