#include "Folder/ItemBatches.hpp"

#include <utility>

namespace orv {

void ItemBatches::add(FileItem item)
{
    items_.push_back(std::move(item));
    if (is_due())
        flush();
}

bool ItemBatches::is_due() const
{
    constexpr std::size_t some_items = 64; // as many as a window shows
    if (items_.size() >= (is_first_ ? some_items : most_items_in_batch))
        return true;
    return items_.size() % some_items == 0 && Clock::now() - last_ > std::chrono::milliseconds(20);
}

void ItemBatches::flush()
{
    if (items_.empty())
        return;
    load_all_custom_attrs(items_);
    orv_sort(items_, sort_());
    outlet_.post(OrvFolder::added{std::exchange(items_, {})});
    items_.reserve(most_items_in_batch);
    last_ = Clock::now();
    is_first_ = false;
}

} // namespace orv
