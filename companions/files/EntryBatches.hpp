#pragma once

#include "files/TreeWalk.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace orv {

/// Some neighbouring items of a walk, most of them not yet described, as work for another thread.
///
/// Threading: one thread at a time.
class EntryBatch {
public:
    /// The folder of the next items.
    struct Folder {
        std::string path;
        std::string relative_path; ///< from the root of the walk
        int level;                 ///< of the items
        FileDescriptor descriptor; ///< unless all of it is described
        std::size_t end;           ///< of its items, as an index
    };

    /// An item of the batch.
    class Entry {
    public:
        [[nodiscard]] const Folder& folder() const { return folder_; }
        [[nodiscard]] const char* name() const { return name_; }
        [[nodiscard]] bool is_regular() const { return S_ISREG(facts_.stx_mode); }

        /// Describes the item. Null if it vanished or is unreadable; the walk's listener hears of
        /// it on this thread. `mask` lists the needed facts.
        ///
        /// Errors: the platform's, when there is no memory.
        [[nodiscard]] const struct statx* facts(unsigned mask);

    private:
        friend class EntryBatch;
        Entry(const EntryBatch& batch, const Folder& folder, const char* name,
              const struct statx& facts)
            : batch_(batch), folder_(folder), name_(name), facts_(facts)
        {
        }

        const EntryBatch& batch_;
        const Folder& folder_;
        const char* name_;
        struct statx facts_;
    };

    /// Calls `take` for each item, in the order of the walk.
    void for_each(FunctionRef<void(Entry&)> take) const;

    [[nodiscard]] std::size_t size() const { return items_.size(); }

private:
    friend class EntryBatches;

    struct Item {
        std::size_t name;                 // where it begins in `names_`
        std::uint16_t mode;               // its type, at least
        std::optional<std::size_t> facts; // index in `facts_`, once described
    };

    std::vector<Folder> folders_;
    std::vector<Item> items_;
    std::string names_; // each ends with a NUL
    std::vector<struct statx> facts_;
    std::function<void(const Error&)> on_passed_over_;
};

/// The items of a walk in batches.
///
/// Threading: one thread at a time.
class EntryBatches {
public:
    /// `walk` must describe only necessary items, pass over unreadable ones, and be at its
    /// beginning. `on_passed_over` hears of items still there, as in a walk, on any thread.
    explicit EntryBatches(TreeWalk& walk, std::function<void(const Error&)> on_passed_over = {})
        : walk_(walk), on_passed_over_(std::move(on_passed_over))
    {
    }

    /// The next items; null at the end.
    ///
    /// Errors: the walk's, and the platform's when the process is out of descriptors.
    std::shared_ptr<const EntryBatch> next();

    /// How many descriptors a batch holds at most.
    static constexpr std::size_t most_folders = 8;

private:
    void add_item(EntryBatch& batch, bool is_same_folder);

    TreeWalk& walk_;
    std::function<void(const Error&)> on_passed_over_;
};

} // namespace orv
