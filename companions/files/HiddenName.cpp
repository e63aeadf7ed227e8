#include "files/HiddenName.hpp"

#include "files/ProcessedFiles.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <unistd.h>

namespace orv {

HiddenName::HiddenName(const DestinationFolder& processed_files, const Url& folder)
    : HiddenName(processed_files, new_uuid())
{
    const std::string path = folder.appending(text_).path();
    const ssize_t written = ::write(note_.get(), path.data(), path.size());
    if (written != static_cast<ssize_t>(path.size()))
        throw platform_error(written < 0 ? errno : ENOSPC,
                             processed_files.url.appending(note_name_));
}

HiddenName::HiddenName(const DestinationFolder& processed_files, const std::string& uuid)
    : processed_files_(processed_files.fd), text_(hidden_name(uuid)), note_name_(note_name(uuid)),
      note_(create_owned_file(processed_files.fd, note_name_,
                              processed_files.url.appending(note_name_)))
{
}

HiddenName::~HiddenName()
{
    if (!note_name_.empty())
        ::unlinkat(processed_files_, note_name_.c_str(), 0);
}

} // namespace orv
