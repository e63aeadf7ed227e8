#include "files/FolderTrail.hpp"

#include <cerrno>
#include <utility>

namespace orv {

FolderTrail::FolderTrail(OpenFolder root, std::string path, std::size_t max_open)
    : stack_(std::move(root), max_open), path_(std::move(path))
{
    const std::size_t name_start = path_ == "/" ? 0 : path_.rfind('/') + 1;
    levels_.push_back({FolderReader(spare_buffer()), path_.size(), name_start});
}

std::string FolderTrail::path_of(const char* name) const
{
    std::string path = path_;
    if (!path.ends_with('/'))
        path += '/';
    return path.append(name);
}

std::optional<FolderReader::Entry> FolderTrail::next_entry()
{
    return levels_.back().reader.next(stack_.folder());
}

void FolderTrail::enter(OpenFolder folder, const char* name)
{
    if (!path_.ends_with('/'))
        path_ += '/';
    const std::size_t name_start = path_.size();
    path_ += name;

    if (stack_.is_full()) {
        FolderReader& outermost = levels_[stack_.outermost_open()].reader;
        if (auto buffer = outermost.read_rest(stack_.outermost_folder()))
            spare_buffers_.push_back(std::move(buffer));
    }
    stack_.enter(std::move(folder));
    levels_.push_back({FolderReader(spare_buffer()), path_.size(), name_start});
}

void FolderTrail::leave()
{
    if (auto buffer = levels_.back().reader.release())
        spare_buffers_.push_back(std::move(buffer));
    levels_.pop_back();
    path_.resize(levels_.back().path_size);
    if (const int error = stack_.leave())
        throw error == ESTALE ? folder_replaced(path_) : platform_error(error, path_);
}

FolderReader::Buffer FolderTrail::spare_buffer()
{
    if (spare_buffers_.empty())
        return FolderReader::Buffer(new std::byte[FolderReader::buffer_bytes]);
    FolderReader::Buffer buffer = std::move(spare_buffers_.back());
    spare_buffers_.pop_back();
    return buffer;
}

Error folder_replaced(const std::string& path)
{
    return Error("The folder was moved or replaced while it was in use.")
        .known_as(Cause::changed)
        .at(path);
}

} // namespace orv
