#pragma once

#include "Operations/frame/Request.hpp"
#include "files/FolderStack.hpp"
#include "utility/DescriptorLease.hpp"

#include <cstddef>
#include <memory>
#include <optional>

namespace orv {

// Beside a walk's folders: its start, the item it looks at, and a file it reads.
constexpr int beside_folders = 6;
constexpr int folders_of_walk = static_cast<int>(FolderStack::default_max_open);

/// The descriptors of one walk, also of a removal.
inline constexpr DescriptorNeed needed_by_walk{folders_of_walk + beside_folders,
                                               folders_of_walk + beside_folders};

/// The descriptors of a walk beside new folders.
inline constexpr DescriptorNeed needed_by_transfer{2 * needed_by_walk.least,
                                                   2 * needed_by_walk.least};

/// The descriptors of packing and unpacking, with the files ahead.
inline constexpr DescriptorNeed needed_by_archive{needed_by_walk.least + 32,
                                                  needed_by_walk.least + 32};

/// The descriptors of work up to `most` steps ahead, two for each step.
constexpr DescriptorNeed needed_ahead(DescriptorNeed base, std::size_t most)
{
    constexpr int least = 4;
    return {base.least + 2 * least, base.least + 2 * static_cast<int>(most)};
}

/// The steps ahead within `lease`, a lease for `base` and some steps.
inline std::size_t steps_ahead(const DescriptorLease& lease, DescriptorNeed base)
{
    return static_cast<std::size_t>(lease.count() - base.least) / 2;
}

/// Waits for the descriptors of a part of the work, unless they are there.
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
