#pragma once

#include "Folder/StatusOutlet.hpp"

#include <orv/Misc/FileItem.hpp>

#include <chrono>
#include <cstddef>
#include <vector>

namespace orv {

/// Items with their stored attributes: as many as a status may carry, so that showing them takes
/// some 2 ms of the main thread.
inline constexpr std::size_t most_items_in_batch = 512;

/// Sends the items of a listing off in batches, early ones soon.
///
/// Threading: one background thread.
class ItemBatches {
public:
    ItemBatches(StatusOutlet& outlet, std::function<SortType()> sort)
        : outlet_(outlet), sort_(std::move(sort))
    {
    }

    void add(FileItem item);

    /// Sends off what is still held.
    ///
    /// Errors: those of the database.
    void flush();

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] bool is_due() const;

    StatusOutlet& outlet_;
    std::function<SortType()> sort_;
    std::vector<FileItem> items_;
    Clock::time_point last_ = Clock::now();
    bool is_first_ = true;
};

} // namespace orv
