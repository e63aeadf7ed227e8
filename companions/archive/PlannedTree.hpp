#pragma once

#include "archive/UnpackingPlan.hpp"

#include <cstddef>
#include <string_view>
#include <unordered_map>

namespace orv::archive {

/// Finds the items of a plan by the folder they are in and their name. Looking for all folders of a
/// path costs no more than reading it once.
class PlannedTree {
public:
    /// The item `name` in `folder`, null for the destination; null if there is none.
    [[nodiscard]] PlannedItem* find(const PlannedItem* folder, std::string_view name) const
    {
        const auto found = items_.find(Key{folder, name});
        return found == items_.end() ? nullptr : found->second;
    }

    /// `name` has to live as long as this.
    void add(const PlannedItem* folder, std::string_view name, PlannedItem& item)
    {
        items_.emplace(Key{folder, name}, &item);
    }

private:
    struct Key {
        const PlannedItem* folder;
        std::string_view name;

        bool operator==(const Key&) const = default;
    };
    struct Hash {
        std::size_t operator()(const Key& key) const
        {
            constexpr std::size_t spread = 0x9E3779B97F4A7C15;
            return std::hash<std::string_view>()(key.name) ^
                   (std::hash<const void*>()(key.folder) * spread);
        }
    };

    std::unordered_map<Key, PlannedItem*, Hash> items_;
};

} // namespace orv::archive
