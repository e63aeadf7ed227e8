#pragma once

#include "Folder/StatusOutlet.hpp"

#include <orv/Misc/FileItem.hpp>

#include <chrono>
#include <cstddef>
#include <vector>

namespace orv {

/// As many items as a status may carry: a list widget takes them in within 2 ms, also on a
/// busy machine.
inline constexpr std::size_t most_items_in_batch = 256;

/// Sends the items of a listing off in batches, with their stored attributes, early ones soon.
///
/// Threading: one background thread.
class ItemBatches {
public:
    ItemBatches(StatusOutlet& outlet, std::function<SortType()> sort)
        : outlet_(outlet), sort_(std::move(sort))
    {
    }

    void add(FileItem item);

    /// Sends the held rest off.
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
