#pragma once

#include "Tool/CopyRecord.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>

namespace orv {

/// A file the transfer has copied.
struct CopiedFile {
    std::size_t source; ///< the source it is, or lies in
    Url original;
    Url copy;
};

/// The copied files of a transfer. Memory does not grow with their number.
///
/// Errors: those of `CopyRecord`.
class CopiedFiles {
public:
    void add(const CopiedFile& file);

    /// Calls `use` for each file, in the order of `add`.
    void for_each(FunctionRef<void(const CopiedFile& file)> use) const;

private:
    CopyRecord record_;
};

} // namespace orv
