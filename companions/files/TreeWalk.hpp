#pragma once

#include "files/FolderTrail.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace orv {

/// The scope of a walk.
struct TreeWalkOptions {
    /// How to treat an unreadable folder, and an entry that vanishes before its description. A
    /// process without descriptors or memory always fails.
    enum class Unreadable { pass_over, fail };

    bool recursive = true;
    /// The walk does not enter folders of this level. Level 1 is the root's direct contents.
    std::optional<int> recursion_depth = {};
    /// Without them, a hidden folder is left out with all its contents.
    bool include_hidden_files = true;
    Unreadable unreadable = Unreadable::pass_over;
    /// Hears why the walk passes over a folder or entry that is still there. Its references must
    /// outlive the walk. May be empty.
    std::function<void(const Error&)> on_passed_over = {};
    /// Without it, items other than folders have only a type, if the folder lists it, until a call
    /// of `describe()`.
    bool describes_all = true;
    std::size_t max_open_folders = FolderStack::default_max_open;
};

/// The items below a folder, depth first, a folder before its contents.
///
///     TreeWalk walk(root);
///     for (;;) {
///         switch (walk.next()) {
///         case TreeWalk::Event::item: …    // walk.skip_contents() keeps it from being entered
///         case TreeWalk::Event::entered: … // a folder whose contents follow
///         case TreeWalk::Event::left: …    // its contents are done
///         case TreeWalk::Event::end: return;
///         }
///     }
///
/// The root is entered and left too, at level 0, but is no item. A folder reported as an item is
/// entered next, unless it is skipped or does not open. The walk never follows symbolic links below
/// the root, even if one takes the place of a folder. It opens folders only, and needs a bounded
/// number of descriptors for any depth.
///
/// Threading: any one thread at a time.
/// Errors: after one, the walk is of no more use.
class TreeWalk {
public:
    enum class Event { item, entered, left, end };

    /// Opens `root`; follows a link there.
    ///
    /// Errors: the platform's, if it does not open, whatever the options say.
    explicit TreeWalk(const Url& root, const TreeWalkOptions& options = {});

    /// Walks the folder open as `root`, with `path` for display.
    TreeWalk(OpenFolder root, const Url& path, const TreeWalkOptions& options = {});

    TreeWalk(const TreeWalk&) = delete;
    TreeWalk& operator=(const TreeWalk&) = delete;

    /// Goes on to the next event.
    ///
    /// Errors: the platform's with the path, as the options say; an error for a moved or replaced
    /// folder.
    Event next();

    /// Keeps the walk out of the folder of the latest item event.
    void skip_contents()
    {
        enters_item_ = false;
        opened_item_.descriptor.reset();
    }

    /// Describes an item known by its type alone. False if it vanished; the walk passes over it.
    ///
    /// Errors: the platform's with the path, as the options say.
    bool describe();

    /// The item, or the folder entered or left: its name, valid until the next event, its facts at
    /// the time of the report, and its level.
    [[nodiscard]] const char* name() const { return name_; }
    [[nodiscard]] const struct statx& facts() const { return facts_; }
    [[nodiscard]] bool is_folder() const { return S_ISDIR(facts_.stx_mode); }
    [[nodiscard]] int level() const { return level_; }

    /// The walk's open folder: the item's parent, or the one entered or left. Valid until the next
    /// event.
    [[nodiscard]] int folder() const { return trail_.folder(); }
    [[nodiscard]] const std::string& folder_path() const { return trail_.path(); }
    [[nodiscard]] const struct statx& folder_facts() const { return folder_facts_.back(); }

    [[nodiscard]] std::string relative_folder_path() const;

    /// The full path of the item, or of the folder entered or left, and its path relative to the
    /// root, empty for the root itself. They may be longer than any call takes.
    [[nodiscard]] std::string path() const;
    [[nodiscard]] std::string relative_path() const;

private:
    Event next_item();
    bool look_at(const FolderReader::Entry& entry);
    bool open_item();
    bool enter_item();
    Event entered();
    Event left();
    [[nodiscard]] bool passes_over(int error, const std::string& path) const;
    [[nodiscard]] std::string below_root(std::string path) const;

    TreeWalkOptions options_;
    std::vector<struct statx> folder_facts_;
    FolderTrail trail_;
    std::size_t root_path_size_;
    std::optional<Event> event_;
    const char* name_ = nullptr;
    struct statx facts_ = {};
    int level_ = 0;
    bool enters_item_ = false;
    OpenFolder opened_item_; // an item to enter is open already, if it can be
};

} // namespace orv
