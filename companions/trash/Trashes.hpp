#pragma once

#include "trash/TrashFolder.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace orv {

/// The user's trash folders: the home trash and one or two on each volume. Each is opened once.
///
/// Threading: one thread.
class Trashes {
public:
    /// What is told of a trash folder that is not used. The error's path is the folder.
    using Unused = std::vector<Error>;

    /// The trash for the item at `url`, whose folders are no links: the home trash for what lies on
    /// its volume. It is made if it is missing.
    ///
    /// Errors: that the volume has no trash and why none can be made, those of `TrashFolder`.
    TrashFolder& for_item(const Url& url);

    /// The trash of the volume itself, also where the home trash lies on it: for what cannot be
    /// renamed into that.
    TrashFolder& on_volume_of(const Url& url);

    /// The trash folder that the item at `url` was thrown into.
    ///
    /// Errors: that it lies in none.
    TrashFolder& holding(const Url& url);

    /// Hands the home trash and the trash folders of the mounted volumes to `visit`, one at a time.
    void for_each(FunctionRef<void(TrashFolder&)> visit);

    /// The trash folders that were passed over.
    [[nodiscard]] const Unused& unused() const { return unused_; }

private:
    TrashFolder& made(const TrashPlace& place);
    TrashFolder* shared_on(const Url& mount_point);
    TrashFolder& users_on(const Url& mount_point);
    std::unique_ptr<TrashFolder> try_to_open(const TrashPlace& place);

    std::map<Url, std::unique_ptr<TrashFolder>> open_; // by their locations
    std::map<Url, TrashFolder*> by_folder_;            // what is used for the items of a folder
    Unused unused_;
};

} // namespace orv
