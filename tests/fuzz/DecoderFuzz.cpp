#include "decoder/Reading.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

#include <sanitizer/lsan_interface.h>
#include <sys/mman.h>
#include <unistd.h>

// Reads any bytes as a picture, a page or a film, as a helper does; the process around it is left
// out.

namespace orv::decoder {
namespace {

FileDescriptor file_of(const std::uint8_t* data, std::size_t size)
{
    FileDescriptor file(::memfd_create("picture", MFD_CLOEXEC));
    if (::write(file.get(), data, size) != static_cast<ssize_t>(size))
        std::abort();
    return file;
}

Medium medium_of(std::string_view bytes)
{
    if (bytes.starts_with("%PDF"))
        return Medium::pdf_page;
    if (bytes.find("<svg") != std::string_view::npos)
        return Medium::drawing;
    const bool is_film = bytes.starts_with("\x1A\x45\xDF\xA3") || bytes.starts_with("ID3") ||
                         bytes.starts_with("fLaC") || bytes.find("moov") != std::string_view::npos;
    return is_film ? Medium::film_frame : Medium::image;
}

/// What a picture promises, whatever it was made from.
void check(const DecodedPicture& decoded, SizeWanted wanted)
{
    const PictureSize size = delivered_size(decoded.full_size, wanted);
    if (decoded.picture.is_empty() || decoded.picture.width() != size.width ||
        decoded.picture.height() != size.height)
        std::abort();
}

} // namespace
} // namespace orv::decoder

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Libraries never give back some of what they take once.
    const __lsan::ScopedDisabler no_leaks;
    for (const orv::Medium medium :
         {orv::Medium::image, orv::Medium::pdf_page, orv::Medium::drawing})
        orv::decoder::prepare_reading(medium);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orv::decoder;
    const orv::FileDescriptor file = file_of(data, size);
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const orv::SizeWanted wanted : {orv::SizeWanted{32, {}}, orv::SizeWanted{7, 90}}) {
        try {
            check(read_picture(file.get(), medium_of(bytes), wanted, {}), wanted);
        } catch (const orv::Error&) {
            // refused, as it should be
        } catch (const std::bad_alloc&) {
            // a helper asks for more memory, or refuses
        }
    }
    return 0;
}
