#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {

/// The copies of files with further links to come. It knows a limited number of them.
class HardLinks {
public:
    /// `top` is the open folder at the start of the paths of copies.
    explicit HardLinks(int top) : top_(top) {}

    /// Makes `name` in the open folder a link to the copy of the file; true if it did.
    bool make(const struct stat& file, int folder, const std::string& name)
    {
        const auto known = copies_.find(key_of(file));
        if (known == copies_.end() ||
            ::linkat(top_, known->second.path.c_str(), folder, name.c_str(), 0) != 0)
            return false;
        if (--known->second.missing == 0)
            copies_.erase(known);
        return true;
    }

    /// Notes the copy of the file at `path`.
    void add(const struct stat& file, std::string path)
    {
        if (file.st_nlink > 1 && copies_.size() < max_copies)
            copies_.try_emplace(key_of(file), Copy{std::move(path), file.st_nlink - 1});
    }

private:
    static constexpr std::size_t max_copies = 1 << 16;

    using Key = std::pair<dev_t, ino_t>;
    struct Copy {
        std::string path;
        nlink_t missing; // links still to come
    };

    static Key key_of(const struct stat& file) { return {file.st_dev, file.st_ino}; }

    int top_;
    std::map<Key, Copy> copies_;
};

} // namespace orv
