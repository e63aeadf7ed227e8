#include "files/HiddenName.hpp"

#include "files/ProcessedFiles.hpp"
#include "files/ReadWrite.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <unistd.h>

namespace orv {

HiddenName::HiddenName(const Url& folder) : HiddenName(folder, {}) {}

/// The note exists once the other constructor is done, so it goes if it cannot be written.
HiddenName::HiddenName(const Url& folder, std::string_view original_name) : HiddenName(new_uuid())
{
    const Url url = processed_files_folder().appending(note_name_);
    write_all({note_.get(), url}, note_text(folder.appending(text_), original_name), 0);
}

HiddenName::HiddenName(const std::string& uuid)
    : processed_files_(made_processed_files_folder()), text_(hidden_name(uuid)),
      note_name_(note_name(uuid)),
      note_(create_owned_file(processed_files_.get(), note_name_,
                              processed_files_folder().appending(note_name_)))
{
}

/// A volume that is mounted for reading answers EROFS before it looks for the item. It has none,
/// since this process could not have made one.
void HiddenName::removal_ended(int code)
{
    if (code != 0 && code != ENOENT && code != EROFS)
        leave_behind();
}

HiddenName::~HiddenName()
{
    if (!note_name_.empty())
        ::unlinkat(processed_files_.get(), note_name_.c_str(), 0);
}

} // namespace orv
