#pragma once

#include "Misc/ItemFacts.hpp"
#include "utility/FileDescriptor.hpp"
#include "utility/TextSearch.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstddef>
#include <memory>
#include <string>

#include <sys/stat.h>

namespace orv {

/// A folder with items that may be found.
struct SearchedFolder {
    ItemFolder items;
    FileDescriptor descriptor;
};

/// An item that may be found, and whether it is.
struct SearchedItem {
    std::shared_ptr<const SearchedFolder> folder;
    std::string name;
    bool is_found = false;
    struct statx facts = {}; ///< of one that is found
};

/// Searches the contents of files before their turn, on the calling thread and, when there are
/// several, on others. The items come back in the order in which they were added.
///
/// Threading: one thread adds and takes.
class SearchAhead {
public:
    /// Takes `max_items` before it is full. `meanwhile` is called on the calling thread now and
    /// then while that reads or waits; what it throws ends that. What it refers to must outlive
    /// this.
    SearchAhead(TextSearch search, std::size_t max_items, FunctionRef<void()> meanwhile);
    /// Gives up what was not taken.
    ~SearchAhead();
    SearchAhead(const SearchAhead&) = delete;
    SearchAhead& operator=(const SearchAhead&) = delete;

    [[nodiscard]] bool is_empty() const;
    /// So much was added that something should be taken before more is.
    [[nodiscard]] bool is_full() const;
    /// Whether nothing need be waited for to take the first item.
    [[nodiscard]] bool is_first_done() const;

    /// Adds a file whose content is to be searched, or an item that is found already.
    void add(SearchedItem item);

    /// The first item, with its content searched. There must be one.
    ///
    /// Errors: the platform's, when the process is out of descriptors or memory. A file that cannot
    /// be read is not found.
    SearchedItem take();

private:
    class Shop;
    std::shared_ptr<Shop> shop_;
};

} // namespace orv
