#include "CommandLine.hpp"

#include <orv/picture/Picture.hpp>

#include <algorithm>
#include <charconv>
#include <deque>
#include <functional>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>

namespace orv::app {
namespace {

constexpr int usage_exit = 2;

using OnConflict = std::optional<ConflictBehaviour>;
using SortKey = SortType::Key;

std::map<std::string, OnConflict> conflict_words()
{
    return {{"ask", std::nullopt},
            {"replace", ConflictBehaviour::replace},
            {"keep-both", ConflictBehaviour::keep_both},
            {"stop", ConflictBehaviour::stop}};
}

std::map<std::string, TransferPolicy::OnConflict> transfer_words()
{
    using OnTaken = TransferPolicy::OnConflict;
    return {{"ask", OnTaken::ask},
            {"merge", OnTaken::merge},
            {"replace", OnTaken::replace},
            {"replace-older", OnTaken::replace_if_older},
            {"skip", OnTaken::skip},
            {"skip-equal", OnTaken::skip_if_equal},
            {"keep-both", OnTaken::keep_both},
            {"stop", OnTaken::stop}};
}

std::map<std::string, TransferPolicy::OnError> error_words()
{
    using OnError = TransferPolicy::OnError;
    return {{"ask", OnError::ask}, {"skip", OnError::skip}, {"stop", OnError::stop}};
}

std::map<std::string, TransferPolicy::Flush> flush_words()
{
    using Flush = TransferPolicy::Flush;
    return {{"auto", Flush::automatic}, {"always", Flush::always}, {"never", Flush::never}};
}

std::map<std::string, SortKey> sort_words()
{
    return {{"name", SortKey::name},
            {"size", SortKey::size},
            {"date", SortKey::modification_date},
            {"ext", SortKey::extension},
            {"folders", SortKey::folders_first},
            {"custom", SortKey::custom_order},
            {"natural", SortKey::natural_name}};
}

SortType sort_type(SortKey key, SortOrder order)
{
    switch (key) {
    case SortKey::name:
        return SortType::by_name(order);
    case SortKey::size:
        return SortType::by_size(order);
    case SortKey::modification_date:
        return SortType::by_modification_date(order);
    case SortKey::extension:
        return SortType::by_extension(order);
    case SortKey::folders_first:
        return SortType::by_folders_first();
    case SortKey::natural_name:
        return SortType::by_natural_name(order);
    case SortKey::custom_order:
        break;
    }
    return SortType::by_custom_order();
}

/// Takes one of the keys of `words`, and lists them after any other word.
template <class Value>
void take_word(const std::string& option, const std::string& word,
               const std::map<std::string, Value>& words, const std::function<void(Value)>& take)
{
    if (const auto found = words.find(word); found != words.end())
        return take(found->second);
    std::string choices;
    for (const auto& [choice, value] : words)
        choices.append(choices.empty() ? "" : ", ").append(choice);
    throw CLI::ValidationError(option, "\"" + word + "\" is none of " + choices);
}

std::optional<std::int64_t> order_number(const std::string& text)
{
    if (text == "none")
        return std::nullopt;
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end)
        throw CLI::ValidationError("--order",
                                   "\"" + text + "\" is neither a whole number nor none");
    return number;
}

std::string check_app_id(const std::string& id)
{
    const bool is_name =
        !id.empty() && id != "." && id != ".." && id.find('/') == std::string::npos;
    return is_name ? "" : "\"" + id + "\" is no name for a folder";
}

/// The picture format for the ending of the name.
ThumbCommand::Form thumb_form(const std::string& output)
{
    const std::size_t dot = output.rfind('.');
    const std::string ending =
        dot == std::string::npos ? "" : CLI::detail::to_lower(output.substr(dot));
    if (ending == ".png")
        return ThumbCommand::Form::png;
    if (ending == ".jpg" || ending == ".jpeg")
        return ThumbCommand::Form::jpeg;
    throw CLI::ValidationError("OUT", "\"" + output + "\" ends with none of .jpeg, .jpg, .png");
}

/// The number of letters to insert, remove or exchange between the two.
std::size_t distance(std::string_view one, std::string_view other)
{
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t exchanged = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

/// The command a person probably meant with `word`, as an addition to a sentence; empty if that is
/// anybody's guess.
std::string hint_for(std::string_view word)
{
    // The second of a pair is the command's name in other programs.
    constexpr std::pair<std::string_view, std::string_view> names[] = {
        {"ls", "list"},         {"ls", "dir"},    {"find", "search"},  {"protected", ""},
        {"du", "size"},         {"cp", "copy"},   {"mv", "move"},      {"rename", "ren"},
        {"write", "create"},    {"zip", "pack"},  {"unzip", "unpack"}, {"unzip", "extract"},
        {"rm", "delete"},       {"rm", "remove"}, {"rm", "del"},       {"mkdir", "md"},
        {"thumb", "thumbnail"}, {"trash", "bin"}, {"examples", ""},    {"attr", "attributes"}};
    std::string_view best;
    std::size_t best_distance = std::min<std::size_t>(3, std::max<std::size_t>(word.size(), 2));
    for (const auto& [name, other_name] : names) {
        const std::size_t off = word == other_name ? 0 : distance(word, name);
        if (off < best_distance) {
            best = name;
            best_distance = off;
        }
    }
    return best.empty() ? "" : ". Did you mean \"" + std::string(best) + "\"?";
}

std::string check_home(const std::string& folder)
{
    return folder.empty() ? "an empty path is no folder" : "";
}

/// The parser, and the values it fills in.
class Parser {
public:
    explicit Parser(const std::vector<std::string>& arguments)
    {
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.set_version_flag("--version", "orv " ORV_VERSION);
        app_.footer("Exit codes: 0 done, 1 failed, 2 wrong usage, 130 interrupted.\n"
                    "A name that begins with a dash is given after \"--\".");
        add_global_options();
        add_commands(arguments);
    }

    std::variant<Invocation, Reply> parse(std::vector<std::string> arguments)
    {
        std::transform(arguments.begin(), arguments.end(), arguments.begin(),
                       [this](const std::string& argument) { return literal(argument); });
        try {
            std::reverse(arguments.begin(), arguments.end());
            app_.parse(std::move(arguments));
            return Invocation{options_, *command_};
        } catch (const CLI::CallForHelp&) {
            return Reply{0, app_.help(), ""};
        } catch (const CLI::CallForVersion& version) {
            return Reply{0, version.what() + std::string("\n"), ""};
        } catch (const CLI::ParseError& error) {
            return Reply{usage_exit, "", complaint(error)};
        }
    }

private:
    /// Adds the commands named by the arguments: to set up all of them takes a good part of the
    /// time of a short command. Adds all of them for help, and for arguments without a command.
    void add_commands(const std::vector<std::string>& arguments)
    {
        constexpr std::pair<std::string_view, void (Parser::*)()> commands[] = {
            {"ls", &Parser::add_list},
            {"find", &Parser::add_find},
            {"protected", &Parser::add_protected},
            {"du", &Parser::add_folder_size},
            {"cp", &Parser::add_copy},
            {"mv", &Parser::add_move},
            {"rename", &Parser::add_rename},
            {"write", &Parser::add_write},
            {"zip", &Parser::add_zip},
            {"unzip", &Parser::add_unzip},
            {"thumb", &Parser::add_thumb},
            {"rm", &Parser::add_remove},
            {"trash", &Parser::add_trash},
            {"undo", &Parser::add_undo},
            {"mkdir", &Parser::add_make_folder},
            {"examples", &Parser::add_examples},
            {"attr", &Parser::add_attributes},
        };
        const auto has = [&](std::string_view word) {
            return std::ranges::count(arguments, word) > 0;
        };
        const bool names_some =
            std::ranges::any_of(commands, [&](const auto& command) { return has(command.first); });
        const bool adds_all = has("--help") || has("-h") || (!names_some && !has("--version"));
        for (const auto& [name, add] : commands)
            if (adds_all || has(name))
                (this->*add)();
    }

    /// The word in the place of a command.
    std::optional<std::string> unknown_command() const
    {
        const std::vector<std::string> rest = app_.remaining();
        if (!app_.get_subcommands().empty() || rest.empty() || rest.front().starts_with('-'))
            return std::nullopt;
        return as_typed(rest.front());
    }

    void add_global_options()
    {
        app_.add_option("--home", options_.home,
                        "Work in this home folder: every other location, the database and the "
                        "temporary folder included, then lies in it")
            ->type_name("DIR")
            ->check(CLI::Validator(check_home, ""));
        app_.add_option("--app", options_.app_id,
                        "Work in the folders and on the attributes of this application (orv)")
            ->type_name("ID")
            ->check(CLI::Validator(check_app_id, ""));
        app_.add_flag("--quiet", options_.quiet,
                      "Show nothing but errors and what was asked for; ask no questions");
    }

    void add_list()
    {
        CLI::App* command = app_.add_subcommand("ls", "List a folder");
        command->add_option("DIR", list_.folder, "The folder")->type_name("")->required();
        auto* recursive =
            command->add_flag("-r,--recursive", list_.recursive, "List the whole tree");
        command->add_flag("-a,--all", list_.all, "List hidden items, too");
        auto* sort =
            add_sorting(*command, "Sort by this; default: as the folder is kept, or by name");
        auto* remember =
            command
                ->add_flag("--remember", list_.remember,
                           "Keep the choice with the folder, if attributes of it are stored")
                ->needs(sort);
        auto* details =
            command->add_flag("-l,--long", list_details_, "Mode, size, date, name and attributes");
        command->add_flag("--json", list_json_, "Everything that is known, as an array")
            ->excludes(details);
        auto* unsorted = command->add_flag("--unsorted", list_.unsorted,
                                           "Print items as they are found, in no order");
        unsorted->excludes(sort)->excludes(remember)->excludes(details);
        command
            ->add_flag("--watch", list_.watch,
                       "Go on with a line for each change, until Ctrl-C or the folder is gone; "
                       "with --json, one object a line")
            ->excludes(recursive)
            ->excludes(remember)
            ->excludes(details)
            ->excludes(unsorted);
        command->callback([this] { command_ = list_command(); });
    }

    CLI::Option* add_sorting(CLI::App& command, const std::string& help)
    {
        auto* sort = command.add_option_function<std::string>(
            "--sort",
            [this](const std::string& word) {
                take_word<SortKey>("--sort", word, sort_words(),
                                   [this](SortKey key) { sort_key_ = key; });
            },
            help);
        sort->type_name("name|natural|size|date|ext|folders|custom");
        command.add_flag("--desc", descending_, "Sort the other way round");
        command.add_flag("--folders-first", folders_first_,
                         "List folders before all other items, sorted by name unless --sort says "
                         "otherwise");
        return sort;
    }

    std::optional<SortType> chosen_sort() const
    {
        if (!descending_ && !folders_first_ && !sort_key_)
            return std::nullopt;
        const SortType sort = sort_type(sort_key_.value_or(SortKey::name),
                                        descending_ ? SortOrder::desc : SortOrder::asc);
        return folders_first_ ? sort.with_folders_first() : sort;
    }

    ListCommand list_command() const
    {
        ListCommand command = list_;
        command.sort = chosen_sort();
        if (list_details_)
            command.form = ListCommand::Form::details;
        if (list_json_)
            command.form = ListCommand::Form::json;
        return command;
    }

    void add_find()
    {
        CLI::App* command =
            app_.add_subcommand("find", "Find the items in a folder whose names contain a keyword");
        command->add_option("DIR", find_.folder, "The folder")->type_name("")->required();
        command->add_option("KEYWORD", find_.keyword, "What to look for; case does not count")
            ->type_name("")
            ->required();
        command->add_flag("--content", find_.in_contents,
                          "Find files whose text contains the keyword, too");
        command->add_flag("-r,--recursive", find_.recursive, "Search the whole tree");
        command->add_flag("-a,--all", find_.all, "Search hidden items, too");
        command->add_flag("--json", find_.json, "Everything that is known, as an array");
        command->footer("Each item is told as it is found, by the way to it from DIR.");
        command->callback([this] {
            find_.keyword = as_typed(find_.keyword);
            command_ = find_;
        });
    }

    void add_protected()
    {
        CLI::App* command =
            app_.add_subcommand("protected", "List all protected items, wherever they lie");
        add_sorting(*command, "Sort by this; default: by name");
        command->add_flag("--json", protected_.json, "Everything that is known, as an array");
        command->callback([this] {
            protected_.sort = chosen_sort();
            command_ = protected_;
        });
    }

    void add_folder_size()
    {
        CLI::App* command = app_.add_subcommand("du", "Add up the sizes of all files in a folder");
        command->add_option("DIR", folder_size_.folder, "The folder")->type_name("")->required();
        command->callback([this] { command_ = folder_size_; });
    }

    void add_copy()
    {
        CLI::App* command = app_.add_subcommand(
            "cp", "Copy items, folders with everything in them; attributes follow");
        add_transfer(*command, copy_, "What to copy");
        command->add_flag_callback(
            "-r,-R,--recursive,-a,--archive,-p", [] {},
            "Nothing: folders, dates and modes are always copied");
        command->add_flag_callback(
            "-L,--dereference", [this] { copy_.policy.links = TransferPolicy::Links::follow; },
            "Copy what symbolic links lead to, instead of the links");
    }

    void add_move()
    {
        CLI::App* command = app_.add_subcommand(
            "mv", "Move items, folders with everything in them; attributes follow");
        add_transfer(*command, move_, "What to move");
    }

    void add_transfer(CLI::App& command, TransferCommand& transfer, const std::string& description)
    {
        TransferPolicy& policy = transfer.policy;
        add_places(command, description, transfer.sources, transfer.destination);
        add_word(command, "--on-conflict", transfer_words(), policy.on_conflict,
                 "What to do when a name is taken, at any depth; default: ask, which without a "
                 "terminal means stop",
                 "ask|merge|replace|replace-older|skip|skip-equal|keep-both|stop");
        auto* on_error = add_word(command, "--on-error", error_words(), policy.on_error,
                                  "What to do about an item that fails; default: ask, which "
                                  "without a terminal means skip for cp and stop for mv",
                                  "ask|skip|stop");
        add_word(command, "--flush", flush_words(), policy.flush,
                 "When the new items are on the medium before the command ends; auto: on removable "
                 "and network volumes",
                 "auto|always|never");
        command.add_flag("--verify", policy.verify,
                         "Read every copied file back from the medium and compare it");
        command.add_flag("--dry-run", transfer.is_dry_run,
                         "Only tell what would be done, an item a line");
        command.add_flag("-v,--verbose", transfer.is_verbose, "Tell what was done");
        add_habits(command, policy);
        command.footer("A symbolic link is an item itself. What was left out is told, and the exit "
                       "code is 1 then.");
        command.callback([this, &transfer, on_error] {
            transfer.asks_about_errors = on_error->count() > 0;
            command_ = transfer;
        });
    }

    /// The letters of cp and mv for some of the policies. They merge folders.
    static void add_habits(CLI::App& command, TransferPolicy& policy)
    {
        using OnTaken = TransferPolicy::OnConflict;
        const auto add = [&](const char* name, OnTaken on_conflict, const char* description) {
            command.add_flag_callback(
                name,
                [&policy, on_conflict] {
                    policy.on_conflict = on_conflict;
                    policy.merges_folders = on_conflict != OnTaken::ask;
                },
                description);
        };
        add("-f,--force", OnTaken::replace, "Replace files and merge folders");
        add("-n,--no-clobber", OnTaken::skip, "Leave out files whose name is taken");
        add("-u,--update", OnTaken::replace_if_older, "Replace files that are older");
        add("-i,--interactive", OnTaken::ask, "Ask about taken names, as by default");
    }

    /// Adds an option with one of `words` as its value.
    template <class Value>
    CLI::Option* add_word(CLI::App& command, const std::string& option,
                          const std::map<std::string, Value>& words, Value& value,
                          const std::string& description, const std::string& choices)
    {
        const auto& take = takers_.emplace_back([&value, option, words](const std::string& word) {
            take_word<Value>(option, word, words, [&](Value chosen) { value = chosen; });
        });
        const auto call = [&take](const std::string& word) { take(word); };
        return command.add_option_function<std::string>(option, call, description)
            ->type_name(choices);
    }

    void add_rename()
    {
        CLI::App* command =
            app_.add_subcommand("rename", "Give an item another name in its folder");
        command->add_option("PATH", rename_.path, "The item")->type_name("")->required();
        command->add_option("NEW-NAME", rename_.new_name, "Its new name, which must be free")
            ->type_name("")
            ->required();
        command->footer("Attributes follow. Of a symbolic link, the link itself is renamed.");
        command->callback([this] {
            rename_.new_name = as_typed(rename_.new_name);
            command_ = rename_;
        });
    }

    void add_write()
    {
        CLI::App* command = app_.add_subcommand(
            "write", "Write standard input to a new file, which appears when it is complete");
        command->add_option("FILE", write_.file, "The file")->type_name("")->required();
        add_on_conflict(*command, write_.on_conflict,
                        "What to do when the name is taken; default: ask on the terminal, wherever "
                        "the input comes from, which without a terminal means stop");
        command->footer(
            "The input is read to its end before the file is begun. Without any input no "
            "file is written.");
        command->callback([this] { command_ = write_; });
    }

    /// Adds "SRC... DEST": the last path is the destination.
    static void add_places(CLI::App& command, const std::string& description,
                           std::vector<std::string>& sources, std::string& destination)
    {
        const auto take = [&sources, &command](std::vector<std::string> paths) {
            if (paths.size() > 1) {
                command.get_option("DEST")->add_result(paths.back());
                paths.pop_back();
            }
            sources = std::move(paths);
        };
        command.add_option_function<std::vector<std::string>>("SRC", take, description)
            ->type_name("")
            ->required();
        command
            .add_option("DEST", destination,
                        "The new place or, when it is an existing folder, where to put the item; "
                        "of several items always the folder")
            ->type_name("")
            ->required();
    }

    static void add_on_conflict(CLI::App& command, OnConflict& on_conflict,
                                const std::string& description)
    {
        const auto take = [&on_conflict](const std::string& word) {
            if (word == "merge")
                throw CLI::ValidationError("--on-conflict", "only cp and mv can merge folders");
            take_word<OnConflict>("--on-conflict", word, conflict_words(),
                                  [&](OnConflict answer) { on_conflict = answer; });
        };
        command.add_option_function<std::string>("--on-conflict", take, description)
            ->type_name("ask|replace|keep-both|stop");
    }

    void add_zip()
    {
        CLI::App* command = app_.add_subcommand(
            "zip", "Pack items, folders with everything in them, into a new zip archive");
        command->add_option("ARCHIVE", zip_.archive, "The archive")->type_name("")->required();
        command->add_option("ITEM", zip_.items, "What to pack")->type_name("")->required();
        add_password(*command, zip_.password, "Encrypt with a password (AES-256) that is typed");
        const auto take = [this](const std::string& word) {
            take_word<ConflictBehaviour>(
                "--on-conflict", word,
                {{"replace", ConflictBehaviour::replace},
                 {"keep-both", ConflictBehaviour::keep_both},
                 {"stop", ConflictBehaviour::stop}},
                [this](ConflictBehaviour answer) { zip_.on_conflict = answer; });
        };
        command
            ->add_option_function<std::string>("--on-conflict", take,
                                               "What to do when the name is taken; default: stop")
            ->type_name("replace|keep-both|stop");
        command->footer("The archive appears when it is complete; one that is replaced is deleted "
                        "before. A symbolic link is packed as a link. Names are never encrypted.");
        command->callback([this] { command_ = zip_; });
    }

    void add_unzip()
    {
        CLI::App* command = app_.add_subcommand(
            "unzip", "Unpack a zip archive into a new folder, which is named like it");
        command->add_option("ARCHIVE", unzip_.archive, "The archive")->type_name("")->required();
        command->add_option("DIR", unzip_.folder, "Where to put the new folder")
            ->type_name("")
            ->required();
        add_password(*command, unzip_.password, "Decrypt with a password that is typed");
        command->footer("When the name is taken, the new folder gets a free one, which is told. "
                        "Of an unpacking that fails nothing remains.");
        command->callback([this] { command_ = unzip_; });
    }

    static void add_password(CLI::App& command, PasswordSource& password,
                             const std::string& typed_description)
    {
        auto* file = command.add_option("--password-file", password.file,
                                        "Take the password from the first line of this file");
        file->type_name("FILE");
        command.add_flag("--ask-password", password.is_asked, typed_description)->excludes(file);
    }

    void add_thumb()
    {
        CLI::App* command =
            app_.add_subcommand("thumb", "Make a thumbnail of a picture, a PDF or a film");
        command->add_option("FILE", thumb_.file, "The file")->type_name("")->required();
        command->add_option("OUT", thumb_.output, "The thumbnail, a new .png or .jpg file")
            ->type_name("")
            ->required();
        add_side(*command, "--width", thumb_.width);
        add_side(*command, "--height", thumb_.height);
        auto* quality =
            command->add_option("--quality", thumb_.quality, "Of a .jpg, from 0 to 1 (0.9)")
                ->type_name("Q")
                ->check(CLI::Range(0.0, 1.0));
        add_on_conflict(*command, thumb_.on_conflict,
                        "What to do when the name is taken; default: ask, which without a terminal "
                        "means stop");
        command->footer("With one side given, the other follows from the shape of the picture; "
                        "with both, it is stretched.");
        command->callback([this, quality] {
            thumb_.form = thumb_form(thumb_.output);
            if (quality->count() > 0 && thumb_.form != ThumbCommand::Form::jpeg)
                throw CLI::ValidationError("--quality", "only a .jpg has a quality");
            command_ = thumb_;
        });
    }

    static void add_side(CLI::App& command, const std::string& option,
                         std::optional<std::uint32_t>& side)
    {
        command.add_option(option, side, "In pixels")
            ->type_name("N")
            ->check(CLI::Range(1U, Picture::max_side));
    }

    void add_remove()
    {
        CLI::App* command =
            app_.add_subcommand("rm", "Delete items, folders with everything in them");
        command->add_option("PATH", remove_.paths, "What to delete")->type_name("")->required();
        command->add_flag("-f,--force", remove_.ignores_missing, "Pass over what doesn't exist");
        command->add_flag("-v,--verbose", remove_.is_verbose, "Print what was deleted");
        command->add_flag_callback(
            "-r,-R,--recursive", [] {}, "Changes nothing: folders are deleted anyway");
        command->footer("What can't be deleted is told, and the others are deleted all the same.");
        command->callback([this] { command_ = remove_; });
    }

    void add_trash()
    {
        using Kind = TrashCommand::Kind;
        CLI::App* command = app_.add_subcommand(
            "trash", "Move items to the trash; list it, restore from it or empty it");
        auto* paths = command
                          ->add_option("PATH", trash_.paths,
                                       "What to move to the trash, or with --restore where it was")
                          ->type_name("");
        const auto flag = [&](const char* name, Kind kind, const char* help) {
            return command->add_flag_callback(
                name, [this, kind] { trash_.kind = kind; }, help);
        };
        auto* list = flag("--list", Kind::list, "List what lies in the trash, the latest first");
        auto* restore = flag("--restore", Kind::restore,
                             "Move the items back that were at these paths, the latest of each");
        auto* empty = flag("--empty", Kind::empty, "Delete what lies in the trash, for good");
        list->excludes(paths)->excludes(restore)->excludes(empty);
        empty->excludes(paths)->excludes(restore);
        command->add_flag("--json", trash_.json, "As an array")->needs(list);
        command
            ->add_option("--older-than", trash_.older_than_days,
                         "Only what was thrown away more days ago")
            ->type_name("DAYS")
            ->check(CLI::Range(std::int64_t{0}, std::int64_t{1'000'000}))
            ->needs(empty);
        add_on_conflict(*command, trash_.on_conflict,
                        "What to do when a name is taken; default: ask, which without a terminal "
                        "means stop");
        command->get_option("--on-conflict")->needs(restore);
        command->footer(
            "The trash is the one of the desktop, on every volume. Where there is none, "
            "nothing is deleted instead.");
        command->callback([this, paths] {
            const bool takes_paths = trash_.kind == Kind::put || trash_.kind == Kind::restore;
            if (takes_paths && paths->empty())
                throw CLI::RequiredError("PATH");
            command_ = trash_;
        });
    }

    void add_undo()
    {
        CLI::App* command = app_.add_subcommand("undo", "Take back the last change made with orv");
        command->add_flag("--list", undo_.lists, "List the changes to take back, the last first");
        command->footer("New items go to the trash, moved and thrown-away items back to their "
                        "places. After a change since, the undo is refused; the next one tries it "
                        "again, and then takes back the change before. Deletions and replacements "
                        "can't be undone.");
        command->callback([this] { command_ = undo_; });
    }

    void add_make_folder()
    {
        CLI::App* command = app_.add_subcommand("mkdir", "Create a folder");
        command->add_option("PATH", make_folder_.path, "The folder")->type_name("")->required();
        command->add_flag("-p,--parents", make_folder_.parents,
                          "Create what is missing above it, too; an existing folder is no error");
        command->callback([this] { command_ = make_folder_; });
    }

    void add_examples()
    {
        CLI::App* command = app_.add_subcommand(
            "examples", "Fill a folder with example files: music, pictures, books and notes");
        command
            ->add_option("DIR", examples_.folder, "The folder, which is created if there is none")
            ->type_name("")
            ->required();
        command->footer("Every step is told in a line; what exists already is left as it is.");
        command->callback([this] { command_ = examples_; });
    }

    void add_attributes()
    {
        CLI::App* command = app_.add_subcommand("attr", "Show or set the attributes of an item");
        command->require_subcommand(1);
        command->footer("A symbolic link stands for the item that it points to.");
        add_get_attributes(*command);
        add_set_attributes(*command);
    }

    void add_get_attributes(CLI::App& parent)
    {
        CLI::App* command = parent.add_subcommand("get", "Show the attributes of an item");
        command->add_option("PATH", get_attributes_.path, "The item")->type_name("")->required();
        command->add_flag("--json", get_attributes_.json, "As an object");
        command->callback([this] { command_ = get_attributes_; });
    }

    void add_set_attributes(CLI::App& parent)
    {
        CLI::App* command = parent.add_subcommand("set", "Set those attributes that are given");
        command->add_option("PATH", set_attributes_.path, "The item")->type_name("")->required();
        auto* is_protected = command->add_option_function<std::string>(
            "--protected",
            [this](const std::string& word) {
                take_word<bool>("--protected", word, {{"on", true}, {"off", false}},
                                [this](bool on) { set_attributes_.is_protected = on; });
            },
            "Whether the item is protected");
        is_protected->type_name("on|off");
        auto* order = command->add_option_function<std::string>(
            "--order",
            [this](const std::string& text) { set_attributes_.order = {order_number(text)}; },
            "Its place among its siblings");
        order->type_name("N|none");
        command->callback([this, is_protected, order] {
            if (is_protected->count() + order->count() == 0)
                throw CLI::RequiredError("--protected or --order");
            command_ = set_attributes_;
        });
    }

    /// The parser reads an argument in brackets as a list, and "++" as the end of a command; as
    /// paths, they mean the same with "./" before them.
    std::string literal(const std::string& argument)
    {
        const bool is_list = argument.starts_with('[') && argument.ends_with(']');
        if (!is_list && argument != "++")
            return argument;
        std::string path = "./" + argument;
        typed_[path] = argument;
        return path;
    }

    /// The kind of an argument other than a path.
    std::string as_typed(const std::string& argument) const
    {
        const auto found = typed_.find(argument);
        return found == typed_.end() ? argument : found->second;
    }

    /// The innermost command among the arguments.
    const CLI::App& parsed_app() const
    {
        const CLI::App* app = &app_;
        while (!app->get_subcommands().empty())
            app = app->get_subcommands().front();
        return *app;
    }

    std::string complaint(const CLI::ParseError& error) const
    {
        if (const auto word = unknown_command())
            return "orv: There is no command \"" + *word + "\"" + hint_for(*word) +
                   "\nSee orv --help.\n";
        const CLI::App& app = parsed_app();
        std::string name = app.get_name();
        for (const CLI::App* above = app.get_parent(); above; above = above->get_parent())
            name.insert(0, above->get_name() + " ");
        return std::string("orv: ") + error.what() + "\nSee " + name + " --help.\n";
    }

    /// Store the words of options with a fixed list of words. The parser keeps references to them.
    std::deque<std::function<void(const std::string&)>> takers_;
    CLI::App app_{"Lists, finds, measures, copies, moves, writes and deletes files, and keeps "
                  "their attributes.",
                  "orv"};
    GlobalOptions options_;
    ListCommand list_;
    std::optional<SortKey> sort_key_;
    bool descending_ = false;
    bool folders_first_ = false;
    bool list_details_ = false;
    bool list_json_ = false;
    FindCommand find_;
    ProtectedCommand protected_;
    FolderSizeCommand folder_size_;
    TransferCommand copy_{.kind = TransferPlan::Kind::copy};
    TransferCommand move_{.kind = TransferPlan::Kind::move};
    RenameCommand rename_;
    WriteCommand write_;
    ZipCommand zip_;
    UnzipCommand unzip_;
    ThumbCommand thumb_;
    RemoveCommand remove_;
    TrashCommand trash_;
    UndoCommand undo_;
    MakeFolderCommand make_folder_;
    ExamplesCommand examples_;
    GetAttributesCommand get_attributes_;
    SetAttributesCommand set_attributes_;
    std::optional<Command> command_;
    std::map<std::string, std::string> typed_; // by the result
};

} // namespace

std::variant<Invocation, Reply> parse_command_line(int argc, const char* const* argv)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.emplace_back(argv[i]);
    Parser parser(arguments);
    return parser.parse(std::move(arguments));
}

} // namespace orv::app
