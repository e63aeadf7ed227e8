#pragma once

#include "Operations/copying/ItemCopier.hpp"

#include <memory>
#include <optional>

namespace orv {

/// Builds the copies of small files before their turn, on the calling thread and a second one. They
/// come back in the order of `add`, ready for their places.
///
/// Threading: one thread adds and takes. The folders of a file stay open until `take`.
class FilesAhead {
public:
    FilesAhead();
    /// Gives up the rest.
    ~FilesAhead();
    FilesAhead(const FilesAhead&) = delete;
    FilesAhead& operator=(const FilesAhead&) = delete;

    void add(SourceItem source, DestinationItem destination);

    /// The result of the first file, and takes it off the line: the return value or exception of
    /// `ItemCopier::build`.
    std::optional<PartialFile> take();

private:
    class Shop;
    std::shared_ptr<Shop> shop_;
};

} // namespace orv
