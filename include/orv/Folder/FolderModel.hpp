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

/// The rows of a list widget that shows a folder, always in order and kept true; knows no toolkit.
///
/// Every difference is announced as a change of rows that any list widget takes. The rows change
/// while `apply` runs, which the listener calls once, after what its widget wants to know before
/// and before what it wants to know afterwards:
///
///     orv::FolderModel model(url, sort, {}, {.on_rows = [&](const auto& change, auto apply) {
///         widget.begin(change);
///         apply();
///         widget.end(change);
///     }});
///
/// Rows are in the order of `orv_sort`; equal ones are ordered by their names.
///
/// Threading: main thread. May end inside a listener.
class FolderModel {
public:
    /// `count` rows, the first of which is `first` now.
    struct inserted {
        std::size_t first;
        std::size_t count;
    };

    /// `count` rows, the first of which was `first`.
    struct removed {
        std::size_t first;
        std::size_t count;
    };

    /// The row `from` becomes the row `to`, counted without it.
    struct moved {
        std::size_t from;
        std::size_t to;
    };

    /// `count` rows that show something else now.
    struct changed {
        std::size_t first;
        std::size_t count;
    };

    /// All rows have another order. `former` holds, for each row, the one that it was before.
    struct reordered {
        std::vector<std::size_t> former;
    };

    using RowChange = std::variant<inserted, removed, moved, changed, reordered>;

    struct Listener {
        /// Is given every change of rows. To announce nothing, leave it empty.
        std::function<void(const RowChange&, FunctionRef<void()> apply)> on_rows = {};
        /// All that was there at first is in the rows.
        std::function<void()> on_complete = {};
        /// See `OrvFolder::compared`.
        std::function<void(const OrvFolder::compared&)> on_compared = {};
        /// There is no such folder any more; the rows were removed.
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

    /// The row of the item of that name.
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
