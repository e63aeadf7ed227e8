#include "Operations/copying/LeftOut.hpp"

#include "utility/ExtendedAttributes.hpp"
#include "utility/FileDescriptor.hpp"
#include "utility/FileNames.hpp"

#include <fcntl.h>

namespace orv {

bool is_left_out(const SourceItem& source)
{
    if (!source.name.starts_with('.'))
        return false;
    const FileDescriptor item(
        ::openat(source.folder, source.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (item && ext_attr(item.get(), "orv_ignore") == "true")
        return true;
    const auto ext = name_parts(source.name).ext;
    return ext == "orvresume" || ext == "jgd";
}

} // namespace orv
