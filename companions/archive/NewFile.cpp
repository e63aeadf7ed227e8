#include "archive/NewFile.hpp"

#include "files/FreeName.hpp"
#include "files/ItemMetadata.hpp"
#include "files/ReadWrite.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace orv::archive {
namespace {

// Smaller parts are no holes worth the calls.
constexpr std::size_t min_hole = 64 * 1024;
constexpr int max_names_tried = 100;
// An entry without a mode gets the usual one of a new file.
constexpr mode_t usual_mode = 0666;

PartialFile created(const NewItemFolder& folder, const std::string& name, HiddenNames& hidden)
try {
    const DestinationFolder destination = folder.destination();
    if (auto file = PartialFile::unnamed(destination, usual_mode))
        return std::move(*file);
    return PartialFile::hidden(hidden.take(), usual_mode);
} catch (const Error& error) {
    if (error.code())
        throw platform_error(*error.code(), folder.url.appending(name));
    throw;
}

} // namespace

void apply(const Keepsakes& keepsakes, int fd, const Url& url)
{
    if (keepsakes.mode)
        keep_mode(fd, *keepsakes.mode, url);
    if (keepsakes.time)
        keep_times(fd, {0, UTIME_OMIT}, *keepsakes.time, url);
}

NewFile::NewFile(std::shared_ptr<const NewItemFolder> folder, std::string name, HiddenNames& hidden)
    : folder_(std::move(folder)), name_(std::move(name)), file_(created(*folder_, name_, hidden))
{
}

void NewFile::write(ByteView part)
{
    if (part.size() >= min_hole && is_zeros(part))
        zeros_ += part.size();
    else
        write_after_zeros(part);
}

/// Leaves the zeros as a hole. An append-only volume refuses it, and the zeros are written.
void NewFile::write_after_zeros(ByteView part)
{
    try {
        write_at(size_ + zeros_, part);
        size_ += zeros_;
        zeros_ = 0;
    } catch (const Error&) {
        if (zeros_ == 0)
            throw;
        write_zeros();
        write_at(size_, part);
    }
    size_ += part.size();
}

void NewFile::write_zeros()
{
    static constexpr std::array<std::byte, min_hole> block{};
    while (zeros_ > 0) {
        const std::size_t count = std::min<std::uint64_t>(zeros_, block.size());
        write_at(size_, ByteView(block).first(count));
        size_ += count;
        zeros_ -= count;
    }
}

void NewFile::write_at(std::uint64_t offset, ByteView part)
{
    write_all({file_.fd(), url()}, part, static_cast<std::int64_t>(offset));
}

void NewFile::publish(const Keepsakes& keepsakes, RenameWay& way)
{
    if (zeros_ > 0 && ::ftruncate(file_.fd(), static_cast<off_t>(size_ + zeros_)) != 0)
        write_zeros();
    apply(keepsakes, file_.fd(), url());
    NoReplaceRename rename(way);
    int code = file_.publish(folder_->destination(), name_, rename);
    for (int tried = 0; code == EEXIST && tried < max_names_tried; ++tried) {
        const auto free = generate_non_conflicting_file_url(url(), {});
        if (!free)
            break;
        name_ = free->last_path_component();
        code = file_.publish(folder_->destination(), name_, rename);
    }
    way = rename.way();
    if (code != 0)
        throw platform_error(code, url());
}

} // namespace orv::archive
