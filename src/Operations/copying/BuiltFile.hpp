#pragma once

#include "files/PartialFile.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// The errors for a file that cannot be built, and for a complete one without a name.
struct BuiltFileErrors {
    Error not_created;
    Error not_finalized;
};

/// Makes a new file at `url`, with the permissions of new files. `fill` writes its content, out of
/// sight; another way of building calls it again. If `fill` throws, nothing remains. With
/// `replaces`, the complete file takes the place of the item there. A link on the way to `url` is
/// an error.
///
/// Errors: those given, told their cause.
void build_file(const Url& url, bool replaces, const BuiltFileErrors& errors,
                FunctionRef<void(const PartialFile&)> fill);

} // namespace orv
