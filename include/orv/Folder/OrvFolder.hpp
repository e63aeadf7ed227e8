#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

class LivingFolder;

/// A folder's list that stays up to date: the items from the beginning, then every change, by any
/// program.
///
///     orv::OrvFolder folder("/home/me", orv::SortType::by_name(orv::SortOrder::asc), {},
///                           [](orv::OrvFolder::Status status) { … });
///
/// First come `added` in batches, the first long before the rest of a large folder, and
/// `complete`. Then every change comes as `added`, `removed`, `changed` or `renamed`, also in
/// batches. Applied in order, they always give a list the folder had; its names are unique. `gone`
/// is the last status: the folder cannot be listed, or was deleted, moved, replaced or unmounted.
///
/// A folder inside the folder is an item like any other: a change of its contents is none of its
/// own. Follows links to the folder; it is `gone` when a link takes its place.
///
/// With `recursive`, the list covers the whole tree, once: `complete` ends it. Its memory does not
/// grow with the tree.
///
/// Threading: main thread, also for the closure and its destruction.
/// Cancel: ending the object ends everything. It may end inside its closure.
class OrvFolder {
public:
    struct Options {
        bool include_hidden_files = false;
        bool recursive = false;
    };

    /// New items of the list; those of one batch are sorted.
    struct added {
        std::vector<FileItem> items;
    };

    struct removed {
        std::vector<std::string> names;
    };

    /// Items with a new description. One name may belong to another item now, as after a save that
    /// replaces the file.
    struct changed {
        std::vector<FileItem> items;
    };

    /// Items with a new name, in the order of the renamings.
    struct renamed {
        struct Item {
            std::string from;
            FileItem item;
        };
        std::vector<Item> items;
    };

    /// All items from the beginning are reported.
    struct complete {};

    /// The system does not report every change, so the folder is compared with the list: once,
    /// after too many changes at the same time, or from now on every few seconds, if the system
    /// watches no more folders or the volume is remote. The comparison takes at most a twentieth of
    /// one core's time.
    struct compared {
        Error reason;
        bool is_lasting;
    };

    /// There is no such folder any more, or there never was.
    struct gone {
        Error error;
    };

    using Status = std::variant<added, removed, changed, renamed, complete, compared, gone>;
    /// Hands over each status itself, to spare a copy of the items.
    using StatusClosure = std::function<void(Status)>;

    OrvFolder(Url url, SortType sort, Options options, StatusClosure status_closure);
    ~OrvFolder();
    OrvFolder(const OrvFolder&) = delete;
    OrvFolder& operator=(const OrvFolder&) = delete;

    [[nodiscard]] const Url& url() const;

    /// Takes hidden items into the list, or out of it: they come as `added` or `removed`.
    void set_include_hidden_files(bool include);
    [[nodiscard]] bool include_hidden_files() const;

    /// Sorts the batches of `added` in another way from now on.
    void set_sort(SortType sort);
    [[nodiscard]] SortType sort() const;

private:
    std::shared_ptr<LivingFolder> living_;
};

} // namespace orv

#pragma pop_macro("Status")
