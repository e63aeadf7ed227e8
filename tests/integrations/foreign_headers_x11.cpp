// Compiled only: an application may include the library after the headers of X11, whose macros have
// names such as Status, Bool, None and Success, and may leave out members of what it fills in.
#include <orv/orv.hpp>

#include <X11/Xlib.h>
#include <X11/Xresource.h>
#include <X11/Xutil.h>

namespace {

[[maybe_unused]] void fill_in()
{
    (void)orv::Locations{.app_id = "app"};
    (void)orv::Locations{.helper_dir = orv::Url("/helpers")};
    (void)orv::ExpansionLimits{.max_ratio = 9};
    (void)orv::CustomAttributes{.is_protected = true};
    (void)orv::CopyProgress{.value = 1};
    (void)orv::GeneralProgress{.value = 1};
    (void)orv::Preview{.full_width = 1};
    (void)orv::OrvThumbnail::Thumbnail{.is_placeholder = true};
    (void)orv::ThumbGenerateOpr::success{.is_placeholder = true};
    (void)orv::OrvFolder::Options{.recursive = true};
    (void)orv::FolderModel::Listener{.on_complete = [] {}};
    (void)orv::ReserveFileUrlOpr::success{.final_url = orv::Url("/file")};
}

[[maybe_unused]] void request(orv::OrvFileManager& manager)
{
    manager.copy("a", "b",
                 [](const auto& status) { (void)std::get_if<orv::status::success>(&status); });
}

// What the library hides of them is theirs again behind its headers.
static_assert(sizeof(Status) == sizeof(int) && Success == 0 && True);

} // namespace
