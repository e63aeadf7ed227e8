#include "decoder/Bmp.hpp"
#include "decoder/Bounds.hpp"
#include "decoder/MappedFile.hpp"
#include "decoder/PageFonts.hpp"
#include "decoder/PictureMemory.hpp"
#include "decoder/Reading.hpp"
#include "decoder/UncroppedPage.hpp"
#include "decoder/Vips.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cmath>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace orv::decoder {
namespace {

using vips::VImage;
using vips::VSource;
using Bytes = std::span<const std::uint8_t>;

VSource source_of(Bytes bytes)
{
    return VSource::new_from_memory(bytes.data(), bytes.size());
}

PictureSize size_of(const VImage& image)
{
    return {static_cast<std::uint32_t>(image.width()), static_cast<std::uint32_t>(image.height())};
}

PictureSize upright_size(const VImage& image)
{
    PictureSize size = size_of(image);
    if (::vips_image_get_orientation_swap(image.get_image()))
        std::swap(size.width, size.height);
    return size;
}

/// True if its numbers mean colours outside sRGB. Others would only lose by a conversion.
bool has_own_colours(const VImage& image)
{
    return image.get_typeof(VIPS_META_ICC_NAME) != 0 ||
           image.interpretation() == VIPS_INTERPRETATION_CMYK;
}

DecodedPicture read_bmp_picture(Bytes bytes, SizeWanted wanted, MemoryAllowed memory)
{
    memory.check(memory_for_bmp(bytes));
    const Picture whole = read_bmp(bytes);
    const PictureSize full{whole.width(), whole.height()};
    const PictureSize size = delivered_size(full, wanted);
    return {whole.scale_image(size.width, size.height).value_or(whole), full};
}

DecodedPicture read_image(Bytes bytes, SizeWanted wanted, MemoryAllowed memory)
{
    if (is_bmp(bytes))
        return read_bmp_picture(bytes, wanted, memory);
    // Refuses a file that stops early or contradicts itself; mere oddities pass.
    constexpr const char* strictly = "[fail_on=error]";
    const VImage header = VImage::new_from_source(
        source_of(bytes), strictly, VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
    const PictureSize full = upright_size(header);
    check_bounds(full);
    const PictureSize size = delivered_size(full, wanted);
    memory.check(memory_for(header, size));
    auto* shrinking = VImage::option()
                          ->set("option_string", strictly)
                          ->set("height", static_cast<int>(size.height))
                          ->set("size", VIPS_SIZE_FORCE);
    if (has_own_colours(header))
        shrinking->set("export_profile", "srgb");
    const VImage picture =
        VImage::thumbnail_source(source_of(bytes), static_cast<int>(size.width), shrinking);
    return {finished(picture, size), full};
}

/// A page of a PDF or a vector drawing: loads it at some scale, and has a noun for its errors.
struct Scalable {
    std::function<VImage(double scale)> load;
    std::string noun;
    VipsExtend edge; ///< of the ground it stands on
};

// Measures pages in tenths of points: in whole ones, small pages would lose their shape.
constexpr double tenths = 10;

/// Call it with the page in points: in tenths, a long one would pass all bounds.
void check_page(const VImage& page, const std::string& noun)
{
    constexpr int longest_side = 200'000;
    if (page.width() > longest_side || page.height() > longest_side)
        throw Error(noun + " is larger than 70 metres.");
}

PictureSize size_in_points(PictureSize page, const std::string& noun)
{
    constexpr std::uint32_t width = 240;
    constexpr double highest = 24'000;
    const double height = std::round(double(width) * page.height / page.width);
    if (height > highest)
        throw Error(noun + " is more than a hundred times as high as wide.");
    return {width, static_cast<std::uint32_t>(std::max(height, 1.0))};
}

/// A page off by the rounding of a side gets a cut or an edge: stretching would blur its text.
VImage trimmed(const VImage& page, PictureSize size, VipsExtend edge)
{
    const auto width = static_cast<int>(size.width);
    const auto height = static_cast<int>(size.height);
    if (std::abs(page.width() - width) > 1 || std::abs(page.height() - height) > 1)
        return page;
    return page.embed(0, 0, width, height, VImage::option()->set("extend", edge));
}

DecodedPicture read_scalable(const Scalable& scalable, SizeWanted wanted)
{
    check_page(scalable.load(1), scalable.noun);
    const PictureSize page = size_of(scalable.load(tenths));
    const PictureSize full = size_in_points(page, scalable.noun);
    const PictureSize size = delivered_size(full, wanted);
    const double scale =
        std::max(size.width * tenths / page.width, size.height * tenths / page.height);
    const double pixels = scale * scale * page.width * page.height / (tenths * tenths);
    if (pixels > double(Picture::max_pixels))
        throw Error(scalable.noun + " is too large at this size.");
    return {finished(trimmed(scalable.load(scale), size, scalable.edge), size), full};
}

DecodedPicture read_pdf_page(Bytes bytes, SizeWanted wanted)
{
    const auto uncropped = uncropped_page(bytes.data(), bytes.size());
    if (uncropped)
        bytes = *uncropped;
    const auto load = [&](double scale) {
        return VImage::pdfload_source(
            source_of(bytes),
            VImage::option()->set("scale", scale)->set("fail_on", VIPS_FAIL_ON_ERROR));
    };
    return read_scalable({load, "The page of the PDF", VIPS_EXTEND_WHITE}, wanted);
}

/// Without a place of its own in the file system, a drawing can refer to no other file.
DecodedPicture read_drawing(Bytes bytes, SizeWanted wanted)
{
    const auto load = [&](double scale) {
        return VImage::svgload_source(source_of(bytes), VImage::option()->set("scale", scale));
    };
    return read_scalable({load, "The drawing", VIPS_EXTEND_BLACK}, wanted);
}

/// A page with a word in the first of the standard fonts.
constexpr std::string_view first_document =
    "%PDF-1.4\n"
    "1 0 obj <</Type /Catalog /Pages 2 0 R>> endobj\n"
    "2 0 obj <</Type /Pages /Kids [3 0 R] /Count 1>> endobj\n"
    "3 0 obj <</Type /Page /Parent 2 0 R /MediaBox [0 0 20 10] /Contents 4 0 R /Resources "
    "<</Font <</F <</Type /Font /Subtype /Type1 /BaseFont /Helvetica>>>>>>>> endobj\n"
    "4 0 obj <</Length 31>> stream\nBT /F 9 Tf 1 1 Td (page) Tj ET \nendstream endobj\n"
    "trailer <</Root 1 0 R>>\n";

constexpr std::string_view first_drawing =
    "<svg xmlns='http://www.w3.org/2000/svg' width='20' height='10'><text y='9'>word</text></svg>";

/// Draws a page once, because the drawing libraries open their files with the first one. They stay
/// open with the document.
void prepare_pages(Medium medium)
{
    keep_page_fonts();
    const bool is_page = medium == Medium::pdf_page;
    const std::string_view first = is_page ? first_document : first_drawing;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(first.data());
    const VSource source = source_of({bytes, first.size()});
    allow_loaders(medium);
    static const auto* const stays_open =
        new VImage(is_page ? VImage::pdfload_source(source) : VImage::svgload_source(source));
    static_cast<void>(finished(*stays_open, size_of(*stays_open)));
}

std::string noun_of(Medium medium)
{
    return medium == Medium::pdf_page ? "PDF" : medium == Medium::drawing ? "drawing" : "picture";
}

} // namespace

void prepare_reading(Medium medium)
{
    start_vips();
    load_modules(medium);
    if (medium == Medium::image)
        prepare_bmp();
    else
        prepare_pages(medium);
}

DecodedPicture read_picture(int file, Medium medium, SizeWanted wanted, MemoryAllowed memory)
{
    const MappedFile mapped(file);
    ::vips_error_clear();
    try {
        allow_loaders(medium);
        if (medium == Medium::pdf_page)
            return read_pdf_page(mapped.bytes(), wanted);
        if (medium == Medium::drawing)
            return read_drawing(mapped.bytes(), wanted);
        return read_image(mapped.bytes(), wanted, memory);
    } catch (const vips::VError& error) {
        const std::string all = error.what();
        const std::string reason = reason_of(error);
        // The libraries tell a lack of memory in words alone, some after another sentence.
        if (reason.find("emory") != std::string::npos || all.find("llocat") != std::string::npos)
            throw std::bad_alloc();
        throw Error("The " + noun_of(medium) + " cannot be read: " + reason + ".");
    }
}

} // namespace orv::decoder
