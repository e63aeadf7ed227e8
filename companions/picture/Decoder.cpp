#include "picture/Decoder.hpp"

#include "files/Place.hpp"
#include "picture/DecoderPool.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Locations.hpp>

#include <algorithm>
#include <cerrno>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

/// The helpers for a medium. They live as long as the process: requests may run while it ends.
picture::DecoderPool& pool_for(Medium medium)
{
    const auto new_pool = [](const char* program, Medium its_medium) {
        const std::size_t cores = std::max(std::thread::hardware_concurrency(), 1U);
        return new picture::DecoderPool(helper_dir().appending(program), its_medium, cores);
    };
    static auto* pictures = new_pool("orv-picture-decoder", Medium::image);
    static auto* pages = new_pool("orv-picture-decoder", Medium::pdf_page);
    static auto* drawings = new_pool("orv-picture-decoder", Medium::drawing);
    static auto* films = new_pool("orv-film-decoder", Medium::film_frame);
    switch (medium) {
    case Medium::image:
        return *pictures;
    case Medium::pdf_page:
        return *pages;
    case Medium::drawing:
        return *drawings;
    case Medium::film_frame:
        break;
    }
    return *films;
}

void check_is_regular(int result, const struct stat& facts, const Url& file)
{
    if (result != 0)
        throw platform_error(errno, file);
    if (!S_ISREG(facts.st_mode))
        throw Error("Only a regular file can be decoded.");
}

/// Looks before the open, because the open alone sets off some devices; and again, at the opened
/// item.
FileDescriptor open_regular(const Url& file)
{
    const Place place = Place::of(file);
    struct stat facts {};
    check_is_regular(::fstatat(place.folder(), place.name(), &facts, 0), facts, file);
    FileDescriptor opened(
        ::openat(place.folder(), place.name(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened)
        throw platform_error(errno, file);
    check_is_regular(::fstat(opened.get(), &facts), facts, file);
    if (facts.st_size == 0)
        throw Error("The file is empty.");
    return opened;
}

} // namespace

DecodedPicture decode_picture(const Url& file, Medium medium, SizeWanted wanted,
                              const std::stop_token& stop)
{
    try {
        const FileDescriptor opened = open_regular(file);
        return pool_for(medium).decode(opened.get(), wanted, stop);
    } catch (const Error& error) {
        throw error.at(file);
    }
}

} // namespace orv
