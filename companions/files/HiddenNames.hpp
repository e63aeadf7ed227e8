#pragma once

#include "files/HiddenName.hpp"

#include <memory>
#include <mutex>
#include <vector>

namespace orv {

/// Hidden names in one folder, each for one item at a time. An announcement waits for the disk, so
/// returned names serve again.
///
/// Threading: any.
class HiddenNames {
public:
    /// The open folder has to outlive this.
    explicit HiddenNames(const DestinationFolder& folder) : folder_(folder) {}

    /// A name of its own, until the last copy of the pointer goes; all go before this object does.
    ///
    /// Errors: the platform's.
    std::shared_ptr<HiddenName> take();

private:
    std::unique_ptr<HiddenName> free_name();
    void give_back(std::unique_ptr<HiddenName> name);

    DestinationFolder folder_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<HiddenName>> free_;
};

} // namespace orv
