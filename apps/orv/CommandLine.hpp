#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/ConflictResolver.hpp>
#include <orv/Operations/TransferOpr.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace orv::app {

/// Options of every command.
struct GlobalOptions {
    std::optional<std::string> home;
    std::string app_id = "orv";
    bool quiet = false;
};

struct ListCommand {
    std::string folder;
    bool recursive = false;
    bool all = false;
    std::optional<SortType> sort;
    bool remember = false;
    bool watch = false;    ///< go on with the changes
    bool unsorted = false; ///< write items in the order of discovery
    enum class Form { names, details, json } form = Form::names;
};

struct FindCommand {
    std::string folder;
    std::string keyword;
    bool in_contents = false; ///< besides names
    bool recursive = false;
    bool all = false;
    bool json = false;
};

struct ProtectedCommand {
    std::optional<SortType> sort;
    bool json = false;
};

struct FolderSizeCommand {
    std::string folder;
};

/// "cp" and "mv".
struct TransferCommand {
    TransferPlan::Kind kind;
    std::vector<std::string> sources = {};
    std::string destination = {};
    TransferPolicy policy = {};
    bool asks_about_errors =
        false; ///< given on the command line, so without a terminal an error ends it
    bool is_dry_run = false;
    bool is_verbose = false;
};

struct RenameCommand {
    std::string path;
    std::string new_name;
};

struct WriteCommand {
    std::string file;
    std::optional<ConflictBehaviour> on_conflict; ///< none: ask
};

/// The source of an archive's password. It never stands on the command line, in view of others.
struct PasswordSource {
    std::optional<std::string> file;
    bool is_asked = false;
};

struct ZipCommand {
    std::string archive;
    std::vector<std::string> items;
    PasswordSource password;
    ConflictBehaviour on_conflict = ConflictBehaviour::stop;
};

struct UnzipCommand {
    std::string archive;
    std::string folder;
    PasswordSource password;
};

struct ThumbCommand {
    std::string file;
    std::string output;
    std::optional<std::uint32_t> width;
    std::optional<std::uint32_t> height;
    enum class Form { png, jpeg } form = Form::png;
    double quality = 0.9;                         ///< of a JPEG
    std::optional<ConflictBehaviour> on_conflict; ///< none: ask
};

struct RemoveCommand {
    std::vector<std::string> paths;
    bool ignores_missing = false;
    bool is_verbose = false;
};

struct TrashCommand {
    enum class Kind { put, list, restore, empty } kind = Kind::put;
    std::vector<std::string> paths;               ///< to put, or where items to restore were
    std::optional<ConflictBehaviour> on_conflict; ///< of a restore; none: ask
    bool json = false;
    std::optional<std::int64_t> older_than_days; ///< none: empty all
};

struct UndoCommand {
    bool lists = false;
};

struct MakeFolderCommand {
    std::string path;
    bool parents = false;
};

struct ExamplesCommand {
    std::string folder;
};

struct GetAttributesCommand {
    std::string path;
    bool json = false;
};

/// A field left out keeps its value.
struct SetAttributesCommand {
    struct Order {
        std::optional<std::int64_t> number;
    };

    std::string path;
    std::optional<bool> is_protected;
    std::optional<Order> order;
};

using Command =
    std::variant<ListCommand, FindCommand, ProtectedCommand, FolderSizeCommand, TransferCommand,
                 RenameCommand, WriteCommand, ZipCommand, UnzipCommand, ThumbCommand, RemoveCommand,
                 TrashCommand, UndoCommand, MakeFolderCommand, ExamplesCommand,
                 GetAttributesCommand, SetAttributesCommand>;

struct Invocation {
    GlobalOptions options;
    Command command;
};

/// The command line asks for a text only, or it is wrong: `output` goes to standard output,
/// `complaint` to standard error.
struct Reply {
    int exit_code;
    std::string output;
    std::string complaint;
};

std::variant<Invocation, Reply> parse_command_line(int argc, const char* const* argv);

} // namespace orv::app
