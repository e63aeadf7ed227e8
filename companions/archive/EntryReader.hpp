#pragma once

#include "archive/ArchiveDirectory.hpp"
#include "archive/Deflate.hpp"
#include "archive/Lending.hpp"
#include "archive/LibzipArchive.hpp"
#include "archive/PackedContent.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <atomic>
#include <optional>
#include <string>

namespace orv::archive {

/// Reads the content of an archive's entries, and checks it.
///
/// Threading: any number at the same time.
class EntryReader {
public:
    EntryReader(const ArchiveToRead& archive, const ArchiveDirectory& directory,
                const std::optional<std::string>& password, const Job& job);
    ~EntryReader();

    /// Called with one part after the other; each is valid during the call only.
    using Consumer = FunctionRef<void(ByteView part)>;

    /// Hands the content of the entry to `consume`. It has the entry's stated size, never more.
    /// Only a normal return proves it right.
    ///
    /// Errors: damaged content; a wrong password; the platform's; `Exception` after a cancel.
    void read(const Entry& entry, Consumer consume);

    /// True if the password may be that of the entry, without a look at its content.
    ///
    /// Errors: the password is wrong or missing; the platform's.
    void check_password(const Entry& entry);

    /// True if `read` knows the entry's compression.
    [[nodiscard]] static bool can_read(const Entry& entry);

private:
    class Content;
    struct Workspace;

    void read(const Entry& entry, Content& content);
    [[nodiscard]] bool is_password_right_for(const Entry& entry, const Content& content);
    [[nodiscard]] bool is_check_number_right(const Entry& entry);
    [[nodiscard]] bool do_others_accept_password(const Entry& entry);
    [[nodiscard]] bool is_password_accepted(const Entry& entry);
    [[nodiscard]] static bool is_for_libzip(const Entry& entry);
    void read_by_libzip(const Entry& entry, Workspace& workspace, Content& content);
    static void unpack(const Entry& entry, PackedContent& packed, Workspace& workspace,
                       Content& content);
    static void inflate_at_once(const Entry& entry, PackedContent& packed, Workspace& workspace,
                                Content& content);
    static void inflate(FunctionRef<ByteView()> next_input, Workspace& workspace, Content& content);

    const ArchiveToRead& archive_;
    const ArchiveDirectory& directory_;
    const std::optional<std::string> password_;
    const Job& job_;
    Lending<Workspace> workspaces_;
    Lending<LibzipArchive> libzip_archives_;
    std::atomic<bool> password_is_right_ = false; // an entry was decrypted to its end
};

} // namespace orv::archive
