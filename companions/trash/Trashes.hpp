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
    /// A report on an unused trash folder. The error's path is the folder.
    using Unused = std::vector<Error>;

    /// The trash for the item at `url`, a location without links among its folders: the home trash
    /// for items on its volume. Makes a missing one.
    ///
    /// Errors: an error if the volume has no trash, with the reason; those of `TrashFolder`.
    TrashFolder& for_item(const Url& url);

    /// The trash of the volume itself, even beside the home trash: for items no rename takes there.
    TrashFolder& on_volume_of(const Url& url);

    /// The trash folder with the item at `url`.
    ///
    /// Errors: an error if it lies in none.
    TrashFolder& holding(const Url& url);

    /// Hands the home trash and the trash folders of the mounted volumes to `visit`, one at a time.
    void for_each(FunctionRef<void(TrashFolder&)> visit);

    /// The trash folders passed over.
    [[nodiscard]] const Unused& unused() const { return unused_; }

private:
    TrashFolder& made(const TrashPlace& place);
    TrashFolder* shared_on(const Url& mount_point);
    TrashFolder& users_on(const Url& mount_point);
    std::unique_ptr<TrashFolder> try_to_open(const TrashPlace& place);

    std::map<Url, std::unique_ptr<TrashFolder>> open_; // by their locations
    std::map<Url, TrashFolder*> by_folder_;            // the trash for the items of a folder
    Unused unused_;
};

} // namespace orv
