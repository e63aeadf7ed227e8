#pragma once

#include "Operations/copying/ItemCopier.hpp"

#include <memory>
#include <optional>

namespace orv {

/// Builds the copies of small files before their turn, on the calling thread and a second one. They
/// come back in the order in which they were added, to be put into their places.
///
/// Threading: one thread adds and takes. The folders of what is added stay open until it was taken.
class FilesAhead {
public:
    FilesAhead();
    /// Gives up what was not taken.
    ~FilesAhead();
    FilesAhead(const FilesAhead&) = delete;
    FilesAhead& operator=(const FilesAhead&) = delete;

    void add(SourceItem source, DestinationItem destination);

    /// What was made of the first file, which is no longer waiting then: what `ItemCopier::build`
    /// returned or threw.
    std::optional<PartialFile> take();

private:
    class Shop;
    std::shared_ptr<Shop> shop_;
};

} // namespace orv
