#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// An open folder in which items are made, and where it is found, for the errors. Owns nothing.
struct DestinationFolder {
    int fd;
    Url url;
};

/// A file that is being built, out of sight and owned by this process. It removes itself unless it
/// is published.
class [[nodiscard]] PartialFile {
public:
    /// Creates it empty under `name` in `folder`, which has to stay open.
    ///
    /// Errors: the platform's; EEXIST when the name is taken.
    PartialFile(const DestinationFolder& folder, std::string name);
    ~PartialFile();
    PartialFile(PartialFile&& other) noexcept;
    PartialFile& operator=(PartialFile&&) = delete;

    [[nodiscard]] int fd() const { return file_.get(); }

    /// Moves the finished file to `name` in `folder`. It replaces nothing.
    ///
    /// Errors: returns 0 or, when it was not moved and stays as it was, the errno: EEXIST when the
    /// name is taken, EXDEV when the folder lies on another volume. Throws the platform's when the
    /// file could not be written to its end.
    [[nodiscard]] int publish(const DestinationFolder& folder, const std::string& name);

private:
    void check_written() const;

    int folder_;
    std::string name_; // empty once it is published
    Url url_;
    FileDescriptor file_;
};

} // namespace orv
