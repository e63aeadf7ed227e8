#include "ThumbGenerator/SharedThumbnails.hpp"

#include "ThumbGenerator/FileUri.hpp"
#include "picture/Decoder.hpp"
#include "picture/PngTexts.hpp"
#include "utility/FileDescriptor.hpp"
#include "utility/LoadedLater.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Locations.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <md5.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

using picture::PngTexts;
using std::chrono::seconds;

Url folder_in_environment()
{
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const bool is_absolute = cache && cache[0] == '/';
    const Url base = is_absolute ? Url(cache) : home_dir().appending(".cache");
    return base.appending("thumbnails");
}

const char* name_of_square(std::uint32_t side)
{
    switch (side) {
    case 128:
        return "normal";
    case 256:
        return "large";
    case 512:
        return "x-large";
    default:
        return "xx-large";
    }
}

std::string digest(const std::string& text)
{
    std::array<char, MD5_DIGEST_STRING_LENGTH> hex{};
    constinit static const LoadedLater<decltype(::MD5Data)> md5_data{ORV_LIBMD, "MD5Data"};
    md5_data(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), hex.data());
    return hex.data();
}

Url place_of(const std::string& uri, std::uint32_t side, const Url& folder)
{
    return folder.appending(name_of_square(side)).appending(digest(uri) + ".png");
}

seconds modified(const FileVersion& version)
{
    return std::chrono::floor<seconds>(std::chrono::nanoseconds(version.modified_ns));
}

std::optional<std::string_view> text_in(const PngTexts& texts, std::string_view key)
{
    const auto found = std::ranges::find(texts, key, &PngTexts::value_type::first);
    if (found == texts.end())
        return std::nullopt;
    return found->second;
}

std::uint32_t side_in(const PngTexts& texts, std::string_view key)
{
    std::uint32_t side = 0;
    const std::string_view text = text_in(texts, key).value_or("");
    std::from_chars(text.data(), text.data() + text.size(), side);
    return side;
}

PngTexts facts_of(const std::string& uri, const FileVersion& version, PictureSize full)
{
    return {{"Thumb::URI", uri},
            {"Thumb::MTime", std::to_string(modified(version).count())},
            {"Thumb::Size", std::to_string(version.size)},
            {"Thumb::Image::Width", std::to_string(full.width)},
            {"Thumb::Image::Height", std::to_string(full.height)},
            {"Software", "orv"}};
}

/// True if the facts in the thumbnail fit its file. Not every program writes the size.
bool are_facts_of(const PngTexts& texts, const std::string& uri, const FileVersion& version)
{
    const std::string size = std::to_string(version.size);
    return text_in(texts, "Thumb::URI") == uri &&
           text_in(texts, "Thumb::MTime") == std::to_string(modified(version).count()) &&
           text_in(texts, "Thumb::Size").value_or(size) == size;
}

/// The size of the whole picture, as far as the thumbnail tells it.
std::optional<PictureSize> size_told_in(const PngTexts& texts)
{
    const PictureSize told{side_in(texts, "Thumb::Image::Width"),
                           side_in(texts, "Thumb::Image::Height")};
    return told.width == 0 || told.height == 0 ? std::nullopt : std::optional(told);
}

/// True if a picture of the size `kept` can show a whole one: it is neither cut nor stretched.
bool has_shape_of(PictureSize kept, PictureSize whole)
{
    const std::uint32_t longest = std::max(kept.width, kept.height);
    const PictureSize shape = size_within(whole, {longest, longest}, true);
    const auto is_near = [](std::int64_t a, std::int64_t b) { return a - b <= 1 && b - a <= 1; };
    return is_near(shape.width, kept.width) && is_near(shape.height, kept.height);
}

/// Opens only a plain file of a likely size.
FileDescriptor open_thumbnail(const Url& at)
{
    constexpr off_t largest = off_t{8} << 20;
    constexpr int mode = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    FileDescriptor file(::open(at.path().c_str(), mode));
    struct stat facts {};
    if (!file || ::fstat(file.get(), &facts) != 0)
        return {};
    const bool is_likely = S_ISREG(facts.st_mode) && facts.st_size <= largest;
    return is_likely ? std::move(file) : FileDescriptor();
}

/// The header and the texts before the pixels.
std::vector<std::byte> beginning_of(const FileDescriptor& file)
{
    std::vector<std::byte> bytes(std::size_t{32} << 10);
    const ssize_t count = ::pread(file.get(), bytes.data(), bytes.size(), 0);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return bytes;
}

Picture pixels_of(const FileDescriptor& file, PictureSize size)
{
    // By its descriptor: another file may have taken the name.
    const Url opened = "/proc/self/fd/" + std::to_string(file.get());
    DecodedPicture decoded = decode_picture(opened, Medium::image, {});
    if (decoded.full_size != size)
        throw Error("The thumbnail is not as large as it says.");
    return std::move(decoded.picture);
}

std::optional<Preview> read_thumbnail(const Url& at, std::uint32_t side, const std::string& uri,
                                      const FileVersion& version, SizeWanted wanted)
try {
    const FileDescriptor file = open_thumbnail(at);
    if (!file)
        return std::nullopt;
    const std::vector<std::byte> beginning = beginning_of(file);
    const PngTexts texts = picture::png_texts(beginning);
    const PictureSize kept = picture::png_size(beginning);
    std::optional<PictureSize> full = size_told_in(texts);
    if (full && !has_shape_of(kept, *full)) {
        // Some programs look at the picture before they turn it upright.
        if (!has_shape_of(kept, {full->height, full->width}))
            return std::nullopt;
        full.reset();
    }
    const bool is_right = are_facts_of(texts, uri, version) && kept.width > 0 && kept.height > 0 &&
                          std::max(kept.width, kept.height) <= side;
    if (!is_right || !shows_enough(kept, full, wanted))
        return std::nullopt;
    // Few programs store the full size. Without it the shape of their thumbnail has to do, and the
    // other side can come out a pixel off: a test for the exact one would make nearly all of them
    // useless.
    const auto [full_width, full_height] = full.value_or(kept);
    return Preview{pixels_of(file, kept), full_width, full_height};
} catch (const Error&) {
    return std::nullopt;
}

bool write_all(const FileDescriptor& file, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(file.get(), bytes.data(), bytes.size());
        if (count <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

/// Puts the file in its place at once, readable by nobody else.
void write_thumbnail(const Url& at, std::span<const std::byte> bytes)
{
    std::string temporary = at.path() + ".XXXXXX";
    FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file)
        return;
    const bool is_written = write_all(file, bytes);
    file.reset();
    if (!is_written || std::rename(temporary.c_str(), at.path().c_str()) != 0)
        ::unlink(temporary.c_str());
}

/// Makes the folder with the two above it, for nobody else.
void make_folders(const Url& folder)
{
    const Url above = folder.deleting_last_path_component();
    for (const Url& made : {above.deleting_last_path_component(), above, folder})
        ::mkdir(made.path().c_str(), S_IRWXU);
}

/// True if a change of the file from now on shows in its time of whole seconds.
bool has_settled(const Url& file, const FileVersion& version)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return modified(version) < std::chrono::floor<seconds>(now) && version_of(file) == version;
}

} // namespace

SharedThumbnails::SharedThumbnails()
    : folder_(folder_in_environment()), resolved_folder_(folder_.resolving_symlinks())
{
}

bool SharedThumbnails::may_serve(const Url& file) const
{
    // With ".." in a path, others may read it as another one.
    return file == file.standardized() && !relative_path(file, folder_) &&
           !relative_path(file.resolving_symlinks(), resolved_folder_);
}

std::optional<Preview> SharedThumbnails::find(const Url& file, const FileVersion& version,
                                              SizeWanted wanted) const
{
    const std::string uri = file_uri(file);
    for (const std::uint32_t side : shared_sides_for(wanted))
        if (auto found = read_thumbnail(place_of(uri, side, folder_), side, uri, version, wanted))
            return found;
    return std::nullopt;
}

void SharedThumbnails::store(const Url& file, const FileVersion& version, const Preview& preview,
                             SizeWanted wanted) const
{
    const PictureSize full{preview.full_width, preview.full_height};
    const std::optional<std::uint32_t> side = shared_side(full, wanted);
    if (!side || !has_settled(file, version))
        return;
    const std::string uri = file_uri(file);
    const Url place = place_of(uri, *side, folder_);
    make_folders(place.deleting_last_path_component());
    write_thumbnail(place, preview.picture.png(facts_of(uri, version, full)));
}

} // namespace orv
