#pragma once

#include "support/Scratch.hpp"

#include <orv/utility/Url.hpp>

#include <memory>

namespace orv::test {

/// An empty folder on a volume of its own; taken away at the end.
class Volume {
public:
    /// A small file system in memory of `kibibytes`. None where this user may mount nothing.
    static std::unique_ptr<Volume> in_memory(int kibibytes);

    /// A folder on the volume of the temporary files, but mounted, so that nothing can be moved
    /// into it from outside. None where this user may mount nothing.
    static std::unique_ptr<Volume> bound();

    /// An ext4 file system of `mebibytes` on a loop device. None where this user may mount nothing.
    static std::unique_ptr<Volume> ext4(int mebibytes);

    ~Volume();
    Volume(const Volume&) = delete;
    Volume& operator=(const Volume&) = delete;

    [[nodiscard]] const Url& url() const { return url_; }

private:
    Volume();

    Scratch scratch_;
    Url url_;
};

} // namespace orv::test
