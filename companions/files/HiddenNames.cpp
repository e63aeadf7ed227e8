#include "files/HiddenNames.hpp"

#include <utility>

namespace orv {

std::shared_ptr<HiddenName> HiddenNames::take()
{
    std::unique_ptr<HiddenName> name = free_name();
    if (!name)
        name = std::make_unique<HiddenName>(folder_);
    return {name.release(),
            [this](HiddenName* taken) { give_back(std::unique_ptr<HiddenName>(taken)); }};
}

std::unique_ptr<HiddenName> HiddenNames::free_name()
{
    const std::lock_guard lock(mutex_);
    if (free_.empty())
        return nullptr;
    std::unique_ptr<HiddenName> name = std::move(free_.back());
    free_.pop_back();
    return name;
}

void HiddenNames::give_back(std::unique_ptr<HiddenName> name)
{
    if (name->is_left_behind())
        return;
    const std::lock_guard lock(mutex_);
    free_.push_back(std::move(name));
}

} // namespace orv
