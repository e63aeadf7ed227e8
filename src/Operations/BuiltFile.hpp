#pragma once

#include "files/PartialFile.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// What is told when a file cannot be built, and when it is built but cannot be given its name.
struct BuiltFileErrors {
    Error not_created;
    Error not_finalized;
};

/// Makes a new file at `url`, with the permissions of new files. `fill` writes its content, out of
/// sight, and is called again when the file has to be built in another way. Nothing is replaced,
/// and what `fill` throws leaves nothing.
///
/// Errors: those given, told their cause.
void build_file(const Url& url, const BuiltFileErrors& errors,
                FunctionRef<void(const PartialFile&)> fill);

} // namespace orv
