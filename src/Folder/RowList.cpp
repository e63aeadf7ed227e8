#include "Folder/RowList.hpp"

#include <algorithm>
#include <iterator>

namespace orv {
namespace {

std::ptrdiff_t offset(std::size_t index)
{
    return static_cast<std::ptrdiff_t>(index);
}

std::size_t place_in(const RowChunk& chunk, const Row& row)
{
    const auto found = std::find(chunk.rows.begin(), chunk.rows.end(), &row);
    return static_cast<std::size_t>(found - chunk.rows.begin());
}

} // namespace

Row& RowList::operator[](std::size_t index) const
{
    const RowChunk& chunk = chunk_with(index);
    return *chunk.rows[index - start_of(chunk.number)];
}

std::size_t RowList::index_of(const Row& row) const
{
    return start_of(row.chunk->number) + place_in(*row.chunk, row);
}

std::size_t RowList::rows_before(const OrderKey& key, SortType sort) const
{
    const auto is_before = [&](const Row* row) { return comes_before(row->key, key, sort); };
    const auto chunk =
        std::partition_point(chunks_.begin(), chunks_.end(), [&](const auto& candidate) {
            return is_before(candidate->rows.back());
        });
    if (chunk == chunks_.end())
        return size_;
    const auto& rows = (*chunk)->rows;
    const auto row = std::partition_point(rows.begin(), rows.end(), is_before);
    return start_of((*chunk)->number) + static_cast<std::size_t>(row - rows.begin());
}

void RowList::insert(std::size_t index, Row& row)
{
    if (chunks_.empty()) {
        chunks_.push_back(std::make_unique<RowChunk>());
        starts_.clear();
    }
    RowChunk& chunk = index == size_ ? *chunks_.back() : chunk_with(index);
    chunk.rows.insert(chunk.rows.begin() + offset(index - start_of(chunk.number)), &row);
    row.chunk = &chunk;
    ++size_;
    count_anew_behind(chunk.number);
    if (chunk.rows.size() > most_in_chunk)
        split(chunk.number);
}

void RowList::erase(Row& row)
{
    RowChunk& chunk = *row.chunk;
    chunk.rows.erase(chunk.rows.begin() + offset(place_in(chunk, row)));
    row.chunk = nullptr;
    --size_;
    const std::size_t number = chunk.number;
    count_anew_behind(number);
    if (chunk.rows.empty()) {
        chunks_.erase(chunks_.begin() + offset(number));
        renumber(number);
    }
}

void RowList::assign(std::span<Row* const> rows)
{
    chunks_.clear();
    starts_.clear();
    size_ = rows.size();
    constexpr std::size_t in_chunk = most_in_chunk / 2;
    for (std::size_t at = 0; at < rows.size(); at += in_chunk) {
        const auto part = rows.subspan(at, std::min(in_chunk, rows.size() - at));
        RowChunk& chunk = *chunks_.emplace_back(std::make_unique<RowChunk>());
        chunk.number = chunks_.size() - 1;
        chunk.rows.assign(part.begin(), part.end());
        for (Row* row : part)
            row->chunk = &chunk;
    }
}

std::vector<Row*> RowList::all() const
{
    std::vector<Row*> rows;
    rows.reserve(size_);
    for (const auto& chunk : chunks_)
        rows.insert(rows.end(), chunk->rows.begin(), chunk->rows.end());
    return rows;
}

std::size_t RowList::start_of(std::size_t chunk) const
{
    if (starts_.empty())
        starts_.push_back(0);
    while (starts_.size() <= chunk)
        starts_.push_back(starts_.back() + chunks_[starts_.size() - 1]->rows.size());
    return starts_[chunk];
}

RowChunk& RowList::chunk_with(std::size_t index) const
{
    while (starts_.size() < chunks_.size() && (starts_.empty() || starts_.back() <= index))
        static_cast<void>(start_of(starts_.size()));
    const auto behind = std::upper_bound(starts_.begin(), starts_.end(), index);
    return *chunks_[static_cast<std::size_t>(behind - starts_.begin()) - 1];
}

void RowList::split(std::size_t number)
{
    RowChunk& full = *chunks_[number];
    auto half = std::make_unique<RowChunk>();
    const auto middle = full.rows.begin() + offset(full.rows.size() / 2);
    half->rows.assign(middle, full.rows.end());
    full.rows.erase(middle, full.rows.end());
    for (Row* row : half->rows)
        row->chunk = half.get();
    chunks_.insert(chunks_.begin() + offset(number) + 1, std::move(half));
    renumber(number + 1);
    count_anew_behind(number);
}

void RowList::renumber(std::size_t first)
{
    for (std::size_t i = first; i < chunks_.size(); ++i)
        chunks_[i]->number = i;
}

void RowList::count_anew_behind(std::size_t chunk)
{
    starts_.resize(std::min(starts_.size(), chunk + 1));
}

} // namespace orv
