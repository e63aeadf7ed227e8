#pragma once

#include <orv/utility/Url.hpp>

#include <string>

namespace orv::test {

/// A small disk with a file system of its own, whose power can be cut. Needs root and a loop
/// device.
class Disk {
public:
    /// How much of what nobody has flushed is on the disk by itself when the power goes.
    enum class Reached {
        nothing, ///< as in the first seconds
        names,   ///< as half a minute later: the journal, but not the content of files
        all,
    };

    /// Makes an empty disk in a file in `folder`. `file_system` is "ext4" or "xfs".
    ///
    /// Errors: `std::runtime_error`, also of the other functions.
    Disk(const Url& folder, const std::string& file_system);
    ~Disk();
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    void mount(const Url& at);
    void unmount();

    /// Ends all that happens on the mounted disk; of what was written stays what was flushed or has
    /// `reached` it.
    void cut_power(Reached reached) const;

    /// Keeps the unmounted disk as it is now, and makes it so again.
    void save() const;
    void restore() const;

private:
    std::string file_system_;
    std::string image_;
    std::string at_; // empty while it is not mounted
};

} // namespace orv::test
