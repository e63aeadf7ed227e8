#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// How to take a link among the folders of a location. `refused` is for resolved locations: a link
/// there can only have taken the place of a folder meanwhile.
enum class FolderLinks { followed, refused };

/// Creates the folder `url`. With `also_create_intermediates` it creates missing folders above it
/// first, and an existing folder is a success.
///
/// Threading: any.
/// Errors: the platform's, at the folder that could not be created.
void make_folder(const Url& url, bool also_create_intermediates,
                 FolderLinks links = FolderLinks::followed);

} // namespace orv
