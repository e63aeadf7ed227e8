#include "decoder/UncroppedPage.hpp"

#include <exception>
#include <map>
#include <string>

#define POINTERHOLDER_TRANSITION 4
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFWriter.hh>

namespace orv::decoder {
namespace {

using Object = QPDFObjectHandle;

bool is_page(Object node)
{
    return !node.getKey("/Kids").isArray();
}

/// The first node below one that is a page or contains one.
Object first_kid(Object node)
{
    for (Object kid : node.getKey("/Kids").aitems())
        if (kid.isDictionary() && (is_page(kid) || kid.getKey("/Kids").getArrayNItems() > 0))
            return kid;
    return Object::newNull();
}

/// The page with its inherited entries; null if there is none. A look at all pages would take long
/// for many of them.
Object first_page(Object node)
{
    constexpr int most_levels = 64;
    std::map<std::string, Object> inherited;
    for (int level = 0; level < most_levels && node.isDictionary(); ++level) {
        for (const char* name : {"/MediaBox", "/CropBox", "/Resources", "/Rotate"})
            if (node.hasKey(name))
                inherited[name] = node.getKey(name);
        if (!is_page(node)) {
            node = first_kid(node);
            continue;
        }
        for (const auto& [name, value] : inherited)
            node.replaceKey(name, value);
        return node;
    }
    return Object::newNull();
}

bool is_cropped(Object page)
{
    const Object::Rectangle shown = page.getKey("/CropBox").getArrayAsRectangle();
    const Object::Rectangle whole = page.getKey("/MediaBox").getArrayAsRectangle();
    return shown.llx > whole.llx || shown.lly > whole.lly || shown.urx < whole.urx ||
           shown.ury < whole.ury;
}

Object pages_of(const Object& only_page)
{
    return Object::newDictionary({{"/Type", Object::newName("/Pages")},
                                  {"/Kids", Object::newArray(std::vector{only_page})},
                                  {"/Count", Object::newInteger(1)}});
}

/// Copies the page with its drawings and its visible layers.
void copy_page(QPDF& from, const Object& page, QPDF& to)
{
    // The copy stops at other pages, or it would walk all of them.
    from.getRoot().replaceKey("/Pages", pages_of(page));
    to.addPage(to.copyForeignObject(page), true);
    Object layers = from.getRoot().getKey("/OCProperties");
    if (layers.isDictionary())
        to.getRoot().replaceKey("/OCProperties",
                                to.copyForeignObject(from.makeIndirectObject(layers)));
}

std::vector<std::uint8_t> written(QPDF& document)
{
    QPDFWriter writer(document);
    writer.setOutputMemory();
    writer.setStreamDataMode(qpdf_s_preserve);
    writer.write();
    const auto buffer = writer.getBufferSharedPointer();
    const std::uint8_t* first = buffer->getBuffer();
    return {first, first + buffer->getSize()};
}

} // namespace

std::optional<std::vector<std::uint8_t>> uncropped_page(const std::uint8_t* pdf, std::size_t size)
{
    try {
        QPDF file;
        file.setSuppressWarnings(true);
        // The drawing library reads a damaged file as well as it can.
        file.setAttemptRecovery(false);
        file.processMemoryFile("", reinterpret_cast<const char*>(pdf), size);
        Object page = first_page(file.getRoot().getKey("/Pages"));
        const bool has_boxes = page.isDictionary() && page.isIndirect() &&
                               page.getKey("/MediaBox").isRectangle() &&
                               page.getKey("/CropBox").isRectangle();
        if (!has_boxes || !is_cropped(page))
            return std::nullopt;
        page.removeKey("/CropBox");
        QPDF document;
        document.emptyPDF();
        copy_page(file, page, document);
        auto bytes = written(document);
        if (file.anyWarnings())
            return std::nullopt;
        return bytes;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace orv::decoder
