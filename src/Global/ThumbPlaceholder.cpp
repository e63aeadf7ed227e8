#include "Global/ThumbPlaceholder.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Fatal.hpp>
#include <orv/utility/Locations.hpp>

#include <cerrno>
#include <fstream>
#include <sstream>

namespace orv {
namespace {

std::string content_of(const Url& file)
{
    std::ifstream input(file.path(), std::ios::binary);
    if (!input)
        throw platform_error(errno, file);
    std::ostringstream content;
    content << input.rdbuf();
    return std::move(content).str();
}

Picture load_placeholder()
{
    const Url file = resource_dir().appending("thumb_placeholder.png");
    try {
        const std::string content = content_of(file);
        return Picture::from_png(std::as_bytes(std::span(content)));
    } catch (const Error& error) {
        fatal("The placeholder of thumbnails can't be loaded from " + file.path() + ": " +
              error.message() +
              "; install the library's resources, or set resource_dir in the locations.");
    }
}

} // namespace

const Picture& intr_thumb_placeholder()
{
    static const auto* placeholder = new Picture(load_placeholder());
    return *placeholder;
}

} // namespace orv
