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

/// A folder's list that stays true: the items that are there, then every change, whoever makes it.
///
///     orv::OrvFolder folder("/home/me", orv::SortType::by_name(orv::SortOrder::asc), {},
///                           [](orv::OrvFolder::Status status) { … });
///
/// First come `added` in batches, the first within some milliseconds however many items there are,
/// and `complete`. Then every change comes as `added`, `removed`, `changed` or `renamed`, also in
/// batches. Applied in order, they give at any time a list that the folder had; names in it are
/// unique. `gone` is the last status: the folder cannot be listed, or was deleted, moved, replaced
/// or unmounted.
///
/// A folder inside the folder is an item like any other: it does not change when its contents do.
/// Links to the folder are followed; it is `gone` when one takes its place.
///
/// With `recursive`, the list is that of the whole tree, told once and not kept: `complete` ends
/// it. Its memory does not grow with the tree.
///
/// Threading: main thread; the closure is called and destroyed there, too.
/// Cancel: ending the object ends everything. It may end inside its closure.
class OrvFolder {
public:
    struct Options {
        bool include_hidden_files = false;
        bool recursive = false;
    };

    /// Items that are new in the list; those of one batch are sorted.
    struct added {
        std::vector<FileItem> items;
    };

    struct removed {
        std::vector<std::string> names;
    };

    /// Items whose description is another one now. Under the name of one may be another item, as
    /// after a file was saved by replacing it.
    struct changed {
        std::vector<FileItem> items;
    };

    /// Items that have another name now, in the order of the renamings.
    struct renamed {
        struct Item {
            std::string from;
            FileItem item;
        };
        std::vector<Item> items;
    };

    /// All that was there at first has been told.
    struct complete {};

    /// The system does not tell of all changes. The folder is compared with what was told: once,
    /// since too many changes came together, or from now on every few seconds, since the system
    /// watches no more folders or the volume is remote. Comparing takes at most a twentieth of one
    /// core's time.
    struct compared {
        Error reason;
        bool is_lasting;
    };

    /// There is no such folder any more, or there never was.
    struct gone {
        Error error;
    };

    using Status = std::variant<added, removed, changed, renamed, complete, compared, gone>;
    /// Is given each status for good, so that items need not be copied.
    using StatusClosure = std::function<void(Status)>;

    OrvFolder(Url url, SortType sort, Options options, StatusClosure status_closure);
    ~OrvFolder();
    OrvFolder(const OrvFolder&) = delete;
    OrvFolder& operator=(const OrvFolder&) = delete;

    [[nodiscard]] const Url& url() const;

    /// Takes hidden items into the list, or out of it: they are told as `added` or `removed`.
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
