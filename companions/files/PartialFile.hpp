#pragma once

#include "files/DestinationFolder.hpp"
#include "files/HiddenName.hpp"
#include "files/NoReplaceRename.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <memory>
#include <optional>
#include <string>

#include <sys/types.h>

namespace orv {

/// A file under construction, out of sight, open to its owner alone. Unless it is published,
/// nothing of it remains.
class [[nodiscard]] PartialFile {
public:
    /// An empty file without a name, on the volume of `folder`: it vanishes with the process. No
    /// value if the file system has no such files. It gets `mode`, as far as the process gives such
    /// modes to new files; nobody else can open it without a name, whatever its mode.
    ///
    /// Errors: the platform's.
    static std::optional<PartialFile> unnamed(const DestinationFolder& folder, mode_t mode = 0600);

    /// An empty file under `name` in `folder`; the folder must stay open. The file carries the mark
    /// of this process (see ProcessedFiles).
    ///
    /// Errors: the platform's; EEXIST if the name is taken.
    static PartialFile named(const DestinationFolder& folder, std::string name, mode_t mode = 0600);

    /// The same under an announced name, in its folder. If the file cannot be removed in the end,
    /// as on a volume that has gone away, its note stays.
    static PartialFile hidden(std::shared_ptr<HiddenName> name, mode_t mode = 0600);

    ~PartialFile();
    PartialFile(PartialFile&& other) noexcept;
    PartialFile& operator=(PartialFile&&) = delete;

    [[nodiscard]] int fd() const { return file_.get(); }

    /// Where this process can open the file, though it may have no name.
    [[nodiscard]] Url reachable_url() const;

    /// Gives the finished file its place under `name` in `folder`. It replaces nothing.
    ///
    /// Errors: returns 0 or, if it stays as it was, the errno: EEXIST if the name is taken, EXDEV
    /// if the folder lies on another volume. Throws the platform's if the file could not be written
    /// to its end.
    [[nodiscard]] int publish(const DestinationFolder& folder, const std::string& name,
                              NoReplaceRename& rename);

private:
    PartialFile(int folder, std::string name, Url url, FileDescriptor file);

    [[nodiscard]] bool has_name() const { return !name_.empty(); }
    void check_written() const;
    void close_written();
    [[nodiscard]] std::string proc_path() const;
    [[nodiscard]] int link_to(int folder, const char* name) const;

    int folder_;
    std::string name_; // empty for a file without a name
    Url url_;
    FileDescriptor file_;
    std::shared_ptr<HiddenName> announced_; // none for a file without a note
};

} // namespace orv
