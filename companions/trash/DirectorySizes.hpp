#pragma once

#include "files/DestinationFolder.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace orv {

/// The sizes of folders in a trash. All programs keep them in its file "directorysizes", to add
/// them up once. A size counts if the folder's info file has the time stored with it.
class DirectorySizes {
public:
    /// Reads the file of the open trash folder; a missing or damaged one yields nothing.
    explicit DirectorySizes(const DestinationFolder& trash);

    /// The size of the folder `name` in bytes. `info_time` is the modification time of its info
    /// file, in seconds.
    [[nodiscard]] std::optional<std::int64_t> size_of(const std::string& name,
                                                      std::int64_t info_time) const;

    void set(const std::string& name, std::int64_t info_time, std::int64_t size);

    /// Forgets the sizes of all other folders.
    void keep_only(const std::set<std::string>& names);

    /// Writes the file anew in one step after a change. A failure harms nobody: the sizes are added
    /// up again.
    void save() noexcept;

private:
    struct Entry {
        std::int64_t size;
        std::int64_t info_time;
    };

    [[nodiscard]] std::string text() const;

    DestinationFolder trash_;
    std::map<std::string, Entry> entries_;
    bool is_changed_ = false;
};

} // namespace orv
