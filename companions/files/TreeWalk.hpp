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

/// What a walk takes in.
struct TreeWalkOptions {
    /// What becomes of a folder that cannot be read and of an entry that vanishes before it is
    /// looked at. A process that is out of descriptors or memory always fails.
    enum class Unreadable { pass_over, fail };

    bool recursive = true;
    /// Folders of this level are not entered. Level 1 is what lies directly in the root.
    std::optional<int> recursion_depth = {};
    /// Without them, a hidden folder is left out with all that is in it.
    bool include_hidden_files = true;
    Unreadable unreadable = Unreadable::pass_over;
    /// Told why each folder or entry is passed over that is still there. What it refers to must
    /// outlive the walk. May be empty.
    std::function<void(const Error&)> on_passed_over = {};
    /// Without it, of what is no folder only the type is told where the folder tells it, until
    /// `describe()` is called.
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
/// The root is entered and left too, at level 0, but is no item. A folder told of as an item is
/// entered next, unless it is not to be or cannot be. Symbolic links are never followed below the
/// root, not even when one takes the place of a folder during the walk. Nothing but folders is
/// opened. Trees of any depth are walked with a bounded number of descriptors.
///
/// Threading: any one thread at a time.
/// Errors: after one, the walk is of no more use.
class TreeWalk {
public:
    enum class Event { item, entered, left, end };

    /// Opens `root`; a link there is followed.
    ///
    /// Errors: the platform's, when it cannot be opened, whatever the options say.
    explicit TreeWalk(const Url& root, const TreeWalkOptions& options = {});

    /// Walks the folder open as `root`, whose path is shown as `path`.
    TreeWalk(OpenFolder root, const Url& path, const TreeWalkOptions& options = {});

    TreeWalk(const TreeWalk&) = delete;
    TreeWalk& operator=(const TreeWalk&) = delete;

    /// Goes on to the next event.
    ///
    /// Errors: the platform's with the path, as the options say; that a folder was moved or
    /// replaced.
    Event next();

    /// The folder of the item event just told is not entered.
    void skip_contents()
    {
        enters_item_ = false;
        opened_item_.descriptor.reset();
    }

    /// Looks at an item of which only the type was told. False when it is passed over, since it
    /// vanished.
    ///
    /// Errors: the platform's with the path, as the options say.
    bool describe();

    /// The item, or the folder entered or left: its name, valid until the next event, what it is
    /// (as it was when told of as an item), and its level.
    [[nodiscard]] const char* name() const { return name_; }
    [[nodiscard]] const struct statx& facts() const { return facts_; }
    [[nodiscard]] bool is_folder() const { return S_ISDIR(facts_.stx_mode); }
    [[nodiscard]] int level() const { return level_; }

    /// The open folder that the walk is in: that which the item lies in, or that entered or left.
    /// Valid until the next event.
    [[nodiscard]] int folder() const { return trail_.folder(); }
    [[nodiscard]] const std::string& folder_path() const { return trail_.path(); }
    [[nodiscard]] const struct statx& folder_facts() const { return folder_facts_.back(); }

    [[nodiscard]] std::string relative_folder_path() const;

    /// The full path of the item, or of the folder entered or left, and the way there from the
    /// root, which for the root itself is empty. They may be longer than any call takes.
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
    OpenFolder opened_item_; // an item that is to be entered is open already, if it can be
};

} // namespace orv
