#include "files/SetAside.hpp"

#include "files/FreeName.hpp"
#include "files/RemoveTree.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <utility>

namespace orv {

SetAside::SetAside(const DestinationFolder& folder, std::string name,
                   std::optional<std::uint64_t> replacement, NoReplaceRename& rename)
    : folder_(folder), name_(std::move(name)), hidden_name_(folder, name_, replacement),
      rename_(rename)
{
    const std::string& hidden = hidden_name_.text();
    if (const int code = rename_(folder_.fd, name_.c_str(), folder_.fd, hidden.c_str()))
        throw platform_error(code, folder_.url.appending(name_));
    is_aside_ = true;
}

SetAside::~SetAside()
{
    if (is_aside_ && put_back(folder_, hidden_name_.text(), name_, rename_) != 0)
        hidden_name_.leave_behind();
}

void SetAside::discard() noexcept
{
    is_aside_ = false;
    try {
        // The replacement has its name on the disk before the old item goes from there.
        hidden_name_.flush_folder();
        remove_tree(folder_.fd, hidden_name_.text().c_str(), folder_.url.appending(name_),
                    Access::taken);
    } catch (const std::exception&) {
        hidden_name_.leave_behind();
    }
}

int put_back(const DestinationFolder& folder, const std::string& hidden, const std::string& name,
             NoReplaceRename& rename) noexcept
try {
    const auto rename_to = [&](const std::string& to) {
        return rename(folder.fd, hidden.c_str(), folder.fd, to.c_str());
    };
    int code = rename_to(name);
    for (int attempts = 0; code == EEXIST && attempts < 100; ++attempts) {
        const Url taken = folder.url.appending(name);
        const auto free = generate_non_conflicting_file_url(taken, {taken});
        if (!free)
            break;
        code = rename_to(free->last_path_component());
    }
    return code;
} catch (const std::exception&) {
    return EIO;
}

} // namespace orv
