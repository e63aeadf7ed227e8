#include "files/FolderReader.hpp"

#include <cerrno>
#include <cstring>

#include <dirent.h>

namespace orv {
namespace {

bool is_dot_or_dot_dot(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

} // namespace

std::optional<FolderReader::Entry> FolderReader::next(int folder)
{
    for (;;) {
        if (position_ == end_ && !fill(folder))
            return std::nullopt;
        const std::byte* record = position_;
        unsigned short length = 0;
        std::memcpy(&length, record + offsetof(dirent64, d_reclen), sizeof length);
        std::uint64_t inode = 0;
        std::memcpy(&inode, record + offsetof(dirent64, d_ino), sizeof inode);
        position_ += length;

        const auto* name =
            static_cast<const char*>(static_cast<const void*>(record + offsetof(dirent64, d_name)));
        if (!is_dot_or_dot_dot(name))
            return Entry{name, std::to_integer<unsigned char>(record[offsetof(dirent64, d_type)]),
                         inode};
    }
}

bool FolderReader::fill(int folder)
{
    if (finished_)
        return false;
    const ssize_t bytes = ::getdents64(folder, buffer_.get(), buffer_bytes);
    if (bytes <= 0) {
        error_ = bytes < 0 ? errno : 0;
        finished_ = true;
        return false;
    }
    position_ = buffer_.get();
    end_ = position_ + bytes;
    return true;
}

FolderReader::Buffer FolderReader::read_rest(int folder)
{
    if (!buffer_)
        return {};
    std::vector<std::byte> rest(position_, end_);
    while (fill(folder))
        rest.insert(rest.end(), position_, end_);
    rest_ = std::move(rest);
    position_ = rest_.data();
    end_ = position_ + rest_.size();
    return std::move(buffer_);
}

bool is_empty_folder(int folder)
{
    FolderReader reader(std::make_unique_for_overwrite<std::byte[]>(FolderReader::buffer_bytes));
    return !reader.next(folder) && reader.error() == 0;
}

} // namespace orv
