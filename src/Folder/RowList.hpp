#pragma once

#include "Misc/OrderKey.hpp"

#include <orv/Misc/FileItem.hpp>

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace orv {

struct RowChunk;

/// A row of a folder model.
struct Row {
    FileItem item;
    OrderKey key;
    RowChunk* chunk = nullptr; ///< where the list holds it
};

/// Some neighbouring rows.
struct RowChunk {
    std::vector<Row*> rows;
    std::size_t number = 0; ///< of the chunk
};

/// Rows in order, in chunks. A row is found by its number, and the number by the row; rows come and
/// go. No step grows with the list, except a sum over the chunks.
///
/// Ownership: the rows are the caller's.
class RowList {
public:
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] Row& operator[](std::size_t index) const;
    [[nodiscard]] std::size_t index_of(const Row& row) const;

    /// The number of rows before `key`; the list is sorted by `sort`.
    [[nodiscard]] std::size_t rows_before(const OrderKey& key, SortType sort) const;

    /// Makes `row` the row number `index`.
    void insert(std::size_t index, Row& row);
    void erase(Row& row);

    /// Replaces all rows.
    void assign(std::span<Row* const> rows);
    [[nodiscard]] std::vector<Row*> all() const;

private:
    static constexpr std::size_t most_in_chunk = 1024;

    [[nodiscard]] std::size_t start_of(std::size_t chunk) const;
    [[nodiscard]] RowChunk& chunk_with(std::size_t index) const;
    void split(std::size_t chunk);
    void renumber(std::size_t first);
    void count_anew_behind(std::size_t chunk);

    std::vector<std::unique_ptr<RowChunk>> chunks_; // none is empty
    std::size_t size_ = 0;
    // The number of rows before each chunk, as far as computed since the last change.
    mutable std::vector<std::size_t> starts_;
};

} // namespace orv
