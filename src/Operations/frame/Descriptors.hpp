#pragma once

#include "Operations/frame/Request.hpp"
#include "files/FolderStack.hpp"
#include "utility/DescriptorLease.hpp"

#include <cstddef>
#include <memory>
#include <optional>

namespace orv {

// Beside a walk's folders: where it begins, what it looks at, and a file that is being read.
constexpr int beside_folders = 6;
constexpr int folders_of_walk = static_cast<int>(FolderStack::default_max_open);

/// What one walk opens, also one that removes.
inline constexpr DescriptorNeed needed_by_walk{folders_of_walk + beside_folders,
                                               folders_of_walk + beside_folders};

/// What a walk opens beside which folders are made.
inline constexpr DescriptorNeed needed_by_transfer{2 * needed_by_walk.least,
                                                   2 * needed_by_walk.least};

/// What packing and unpacking open: the files ahead, too.
inline constexpr DescriptorNeed needed_by_archive{needed_by_walk.least + 32,
                                                  needed_by_walk.least + 32};

/// What work opens that goes up to `most` steps ahead, with two descriptors for each.
constexpr DescriptorNeed needed_ahead(DescriptorNeed base, std::size_t most)
{
    constexpr int least = 4;
    return {base.least + 2 * least, base.least + 2 * static_cast<int>(most)};
}

/// How many steps ahead `lease` allows, which was taken for `base` and some steps.
inline std::size_t steps_ahead(const DescriptorLease& lease, DescriptorNeed base)
{
    return static_cast<std::size_t>(lease.count() - base.least) / 2;
}

/// Waits for the descriptors that a part of the work needs, unless they are there.
///
/// Cancel: ends the wait with `Exception`.
template <class Operation>
DescriptorLease lease_descriptors(Request<Operation>& request, DescriptorNeed need)
{
    std::optional<DescriptorLease> lease = DescriptorLease::try_take(need);
    if (lease)
        return std::move(*lease);
    const auto turn = std::make_shared<DescriptorTurn>(need);
    const auto wait = [&] {
        if (auto granted = turn->wait())
            lease.emplace(std::move(*granted));
    };
    if constexpr (has_case<status::cancelled, typename Operation::Status>)
        request.do_part([turn] { turn->give_up(); }, wait);
    else
        wait();
    if (!lease)
        throw Exception();
    return std::move(*lease);
}

} // namespace orv
