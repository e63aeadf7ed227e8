#include "decoder/Vips.hpp"

#include <orv/utility/Error.hpp>

#include <cstring>
#include <string>

#include <dlfcn.h>
#include <gmodule.h>
#include <vips/vector.h>

namespace orv::decoder {
namespace {

/// The folder of modules for the libvips in use.
std::string module_folder()
{
    Dl_info info{};
    ::dladdr(reinterpret_cast<const void*>(&::vips_init), &info);
    const std::string library = info.dli_fname ? info.dli_fname : "";
    return library.substr(0, library.rfind('/')) + "/vips-modules-" +
           std::to_string(VIPS_MAJOR_VERSION) + "." + std::to_string(VIPS_MINOR_VERSION);
}

/// Does nothing for a libvips without modules: it has the loader already.
void load_module(const char* name)
{
    const std::string path = module_folder() + "/" + name;
    // Resolves all names now: later, their library could not be loaded.
    ::g_module_open(path.c_str(), static_cast<GModuleFlags>(0));
}

void ignore_log(const char*, GLogLevelFlags, const char*, void*) {}

} // namespace

void start_vips()
{
    ::g_log_set_default_handler(&ignore_log, nullptr);
    // Loading every module would take as long again as all else.
    ::g_setenv("VIPSHOME", "/nonexistent", TRUE);
    // Nothing goes into files.
    ::g_setenv("VIPS_DISC_THRESHOLD", "8g", TRUE);
    if (VIPS_INIT("orv-picture-decoder"))
        throw Error("libvips cannot be started.");
    // It gains nothing measurable, and generated code needs executable memory.
    ::vips_vector_set_enabled(FALSE);
    ::vips_concurrency_set(1);
    ::vips_cache_set_max(0);
}

void load_modules(Medium medium)
{
    if (medium != Medium::drawing)
        load_module(medium == Medium::pdf_page ? "vips-poppler.so" : "vips-heif.so");
}

void allow_loaders(Medium medium)
{
    ::vips_operation_block_set("VipsForeignLoad", TRUE);
    if (medium == Medium::pdf_page || medium == Medium::drawing) {
        const bool is_page = medium == Medium::pdf_page;
        ::vips_operation_block_set(is_page ? "VipsForeignLoadPdf" : "VipsForeignLoadSvg", FALSE);
        return;
    }
    for (const char* loader : {"VipsForeignLoadJpeg", "VipsForeignLoadPng", "VipsForeignLoadNsgif",
                               "VipsForeignLoadTiff", "VipsForeignLoadHeif", "VipsForeignLoadWebp"})
        ::vips_operation_block_set(loader, FALSE);
}

Picture finished(vips::VImage image, PictureSize size)
{
    const auto width = static_cast<int>(size.width);
    const auto height = static_cast<int>(size.height);
    if (image.width() != width || image.height() != height)
        image = image.thumbnail_image(
            width, vips::VImage::option()->set("height", height)->set("size", VIPS_SIZE_FORCE));
    image = image.colourspace(VIPS_INTERPRETATION_sRGB).cast(VIPS_FORMAT_UCHAR);
    if (!image.has_alpha())
        image = image.bandjoin(255);
    if (image.bands() != 4 || image.width() != width || image.height() != height)
        throw Error("The picture is of an unknown kind.");
    std::size_t count = 0;
    const std::unique_ptr<void, void (*)(void*)> pixels(image.write_to_memory(&count), &::g_free);
    const auto* first = static_cast<const std::uint8_t*>(pixels.get());
    return {size.width, size.height, std::vector<std::uint8_t>(first, first + count)};
}

std::string reason_of(const vips::VError& error)
{
    std::string text = error.what();
    ::vips_error_clear();
    // The first line is the cause, others follow from it.
    text.resize(std::min(text.find('\n'), text.size()));
    return text;
}

} // namespace orv::decoder
