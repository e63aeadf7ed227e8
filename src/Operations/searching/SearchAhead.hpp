#pragma once

#include "Misc/FileItem.hpp"
#include "utility/FileDescriptor.hpp"
#include "utility/TextSearch.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstddef>
#include <memory>
#include <string>

#include <sys/stat.h>

namespace orv {

/// A folder with candidates.
struct SearchedFolder {
    ItemFolder items;
    FileDescriptor descriptor;
};

/// A candidate, and if it matches.
struct SearchedItem {
    std::shared_ptr<const SearchedFolder> folder;
    std::string name;
    bool is_found = false;
    struct statx facts = {}; ///< of a match
};

/// Searches the contents of files before their turn, on the calling thread and, on several cores,
/// on others. The items come back in the order of `add`.
///
/// Threading: one thread adds and takes.
class SearchAhead {
public:
    /// Takes `max_items` before it is full. The calling thread calls `meanwhile` now and then while
    /// it reads or waits; an exception from it ends that. The references in it must outlive this
    /// object.
    SearchAhead(TextSearch search, std::size_t max_items, FunctionRef<void()> meanwhile);
    /// Gives up the rest.
    ~SearchAhead();
    SearchAhead(const SearchAhead&) = delete;
    SearchAhead& operator=(const SearchAhead&) = delete;

    [[nodiscard]] bool is_empty() const;
    /// True if it is full, and time to take an item.
    [[nodiscard]] bool is_full() const;
    /// True if the first item comes without a wait.
    [[nodiscard]] bool is_first_done() const;

    /// Adds a file for a search of its content, or an item that matches already.
    void add(SearchedItem item);

    /// The first item, with its content searched. There must be one.
    ///
    /// Errors: the platform's, if the process is out of descriptors or memory. An unreadable file
    /// is no match.
    SearchedItem take();

private:
    class Shop;
    std::shared_ptr<Shop> shop_;
};

} // namespace orv
