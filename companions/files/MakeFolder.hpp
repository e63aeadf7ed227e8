#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Creates the folder `url`. With `also_create_intermediates` it creates missing folders above it
/// first, and an existing folder is a success.
///
/// Threading: any.
/// Errors: the platform's, at the folder that could not be created.
void make_folder(const Url& url, bool also_create_intermediates);

} // namespace orv
