#pragma once

#include "Tool/CopyRecord.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>

namespace orv {

/// A file that a transfer has copied.
struct CopiedFile {
    std::size_t source; ///< the one that it is, or lies in
    Url original;
    Url copy;
};

/// The files that a transfer has copied. Memory does not grow with their number.
///
/// Errors: those of `CopyRecord`.
class CopiedFiles {
public:
    void add(const CopiedFile& file);

    /// Calls `use` for each file, in the order in which they were added.
    void for_each(FunctionRef<void(const CopiedFile& file)> use) const;

private:
    CopyRecord record_;
};

} // namespace orv
