#include "faults/Site.hpp"

#include "support/Tree.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <span>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* living_file = "5b9619ff-8b86-4011-b42d-00c04fc964ff";
constexpr const char* living_note = "6f9619ff-8b86-4011-b42d-00c04fc964ff.note";
constexpr const char* dead_file = "7c9619ff-8b86-4011-b42d-00c04fc964ff";
constexpr const char* dead_note = "8d9619ff-8b86-4011-b42d-00c04fc964ff.note";

/// The folders that every site has.
constexpr std::array folders{"home", "home/disk", "outside", "volume"};

bool is_kept_by_library(const std::string& path)
{
    const bool is_trashed = is_at_or_below(path, trashed_items) && path != trashed_items;
    return (is_at_or_below(path, "home/.local") && !is_trashed) ||
           is_at_or_below(path, "home/.cache");
}

/// An item in the trash is of no use without a text that tells where it was.
void tell_of_missing_infos(Snapshot& items, const Snapshot& all)
{
    const std::string start = std::string(trashed_items) + "/";
    for (const auto& [path, item] : all) {
        if (!path.starts_with(start) || path.find('/', start.size()) != std::string::npos ||
            path.ends_with(".orvresume"))
            continue;
        const auto info = all.find(trash_infos + path.substr(start.size() - 1) + ".trashinfo");
        if (info == all.end() || !info->second.content.ends_with('\n'))
            items[path + " without an info"] = item;
    }
}

Snapshot with_root(Snapshot items, const std::string& root)
{
    for (auto& [path, item] : items)
        if (const std::size_t at = item.content.find('@'); at != std::string::npos)
            item.content.replace(at, 1, root);
    return items;
}

void make_accessible(const fs::path& folder)
{
    std::error_code none;
    for (fs::recursive_directory_iterator at(folder, none), end; at != end; at.increment(none))
        if (at->is_directory(none) && !at->is_symlink(none))
            fs::permissions(at->path(), fs::perms::owner_all, fs::perm_options::add, none);
}

void empty(const fs::path& folder)
{
    make_accessible(folder);
    std::error_code none; // a mounted volume is emptied, but not removed
    for (const auto& item : fs::directory_iterator(folder))
        fs::remove_all(item.path(), none);
}

} // namespace

std::string orv_command()
{
    return ORV_COMMAND;
}

Site::Site(Scene scene) : scene_(std::move(scene))
{
    ::umask(022);
    for (const char* name : folders)
        fs::create_directory(root_ / name);
    make_database();
}

void Site::make_database()
{
    fs::create_directory(root_ / "home/start");
    const Supervision first = run({"ls", "@home/start"});
    if (first.exit_code != 0)
        throw std::runtime_error("the orv command doesn't work: " + first.errors);
    insert_rows(database(), scene_.rows);
    database_ = read_file(database());
}

void Site::reset()
{
    owned_.clear();
    for (const char* name : folders) {
        fs::create_directory(root_ / name);
        empty(root_ / name);
    }
    Snapshot items = with_root(scene_.unwatched, root().path());
    items.insert(scene_.items.begin(), scene_.items.end());
    build(root(), items);
    write_file(database(), database_);
    own_unfinished_files();
}

void Site::own_unfinished_files()
{
    const std::string folder = unfinished_folder().path() + "/";
    write_file(Url(folder + dead_file), "dead");
    write_file(Url(folder + dead_note), "/nowhere/.8d9619ff-8b86-4011-b42d-00c04fc964ff.orvresume");
    write_file(Url(folder + living_file), "living");
    write_file(Url(folder + living_note),
               (root_ / "home/dest").appending(living_hidden_file).path());
    for (const char* name : {living_file, living_note}) {
        owned_.emplace_back(::open((folder + name).c_str(), O_RDWR | O_CLOEXEC));
        ::flock(owned_.back().get(), LOCK_EX);
    }
}

void Site::forget_living()
{
    owned_.clear();
    empty(fs::path(unfinished_folder()));
}

void Site::give_input(const std::string& text)
{
    has_input_ = !text.empty();
    write_file(outside_ / "input", text);
}

Supervision Site::run(const std::vector<std::string>& arguments, const Fault& fault) const
{
    const bool is_single_request = arguments.front() == "single request";
    std::vector<std::string> command{is_single_request ? ORV_SINGLE_REQUEST : orv_command(),
                                     "--home", (root_ / "home").path()};
    for (const std::string& argument : std::span(arguments).subspan(is_single_request ? 1 : 0))
        command.push_back(argument.starts_with('@') ? (root_ / argument.substr(1)).path()
                                                    : argument);
    if (has_input_) {
        const std::string script = "exec \"$@\" < \"$0\"";
        const auto prefix = {std::string("sh"), std::string("-c"), script,
                             (outside_ / "input").path()};
        command.insert(command.begin(), prefix);
    }
    return supervise(command, root().path(), fault, lacking_);
}

bool Site::start_again() const
{
    return run({"ls", "@home/sentinel"}).exit_code == 0;
}

Snapshot Site::items() const
{
    const Snapshot all = snapshot_of(root());
    Snapshot items = all;
    std::erase_if(items, [](const auto& entry) { return is_kept_by_library(entry.first); });
    tell_of_missing_infos(items, all);
    for (const char* name : folders)
        items.erase(name);
    return items;
}

Rows Site::rows() const
{
    return read_rows(database());
}

std::vector<std::string> Site::unfinished() const
{
    std::vector<std::string> names;
    for (const auto& item : fs::directory_iterator(unfinished_folder()))
        names.push_back(item.path().filename());
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> Site::unfinished_of_living()
{
    return {living_file, living_note};
}

bool Site::is_unfinished_from_the_start(const std::string& name)
{
    const auto all = {living_file, living_note, dead_file, dead_note};
    return std::ranges::find(all, name) != all.end();
}

Url Site::database() const
{
    return root_ / "home/.local/share/orv/orv_file_manager_db.sqlite";
}

Url Site::unfinished_folder() const
{
    return root_ / "home/.cache/orv/tmp/__orv_proc_files__";
}

} // namespace orv::test
