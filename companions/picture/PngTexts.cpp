#include "picture/PngTexts.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include <zlib.h>

namespace orv::picture {
namespace {

// A PNG picture is a signature and chunks: the length of the content, a type of four letters, the
// content, and the checksum of type and content. The first chunk is always the header.
constexpr std::string_view signature = "\x89PNG\r\n\x1a\n";
constexpr std::string_view text_type = "tEXt";
constexpr std::size_t length_size = 4;
constexpr std::size_t type_size = 4;
constexpr std::size_t checksum_size = 4;
constexpr std::size_t header_chunk_size = length_size + type_size + 13 + checksum_size;

std::string big_endian(std::size_t number)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

std::size_t read_big_endian(std::string_view bytes)
{
    std::size_t number = 0;
    for (const char byte : bytes.substr(0, length_size))
        number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

bool is_ascii_text(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c > 0 && c < 0x7F; });
}

std::string text_chunk(const std::string& key, const std::string& value)
{
    constexpr std::size_t longest_key = 79;
    if (key.empty() || key.size() > longest_key || !is_ascii_text(key) || !is_ascii_text(value))
        throw Error("A text field of a PNG picture is ASCII, its key of 1 to 79 characters: \"" +
                    key + "\".");
    std::string body(text_type);
    body.append(key).append(1, '\0').append(value);
    const auto checksum = ::crc32_z(0, reinterpret_cast<const Bytef*>(body.data()), body.size());
    return big_endian(body.size() - type_size) + body + big_endian(checksum);
}

std::optional<std::pair<std::string, std::string>> parse_text(std::string_view content)
{
    const std::size_t end = content.find('\0');
    if (end == std::string_view::npos)
        return std::nullopt;
    return std::pair(std::string(content.substr(0, end)), std::string(content.substr(end + 1)));
}

} // namespace

std::vector<std::byte> with_png_texts(std::vector<std::byte> png, const PngTexts& texts)
{
    std::string chunks;
    for (const auto& [key, value] : texts)
        chunks += text_chunk(key, value);
    const auto bytes = std::as_bytes(std::span(chunks));
    const auto place = static_cast<std::ptrdiff_t>(signature.size() + header_chunk_size);
    png.insert(png.begin() + place, bytes.begin(), bytes.end());
    return png;
}

PngTexts png_texts(std::span<const std::byte> png)
{
    std::string_view rest(reinterpret_cast<const char*>(png.data()), png.size());
    PngTexts texts;
    if (!rest.starts_with(signature))
        return texts;
    rest.remove_prefix(signature.size());
    while (rest.size() > length_size + type_size) {
        const std::size_t length = read_big_endian(rest);
        const std::string_view type = rest.substr(length_size, type_size);
        rest.remove_prefix(length_size + type_size);
        if (rest.size() < length + checksum_size)
            break;
        if (type == text_type)
            if (auto text = parse_text(rest.substr(0, length)))
                texts.push_back(*std::move(text));
        rest.remove_prefix(length + checksum_size);
    }
    return texts;
}

PictureSize png_size(std::span<const std::byte> png)
{
    const std::string_view bytes(reinterpret_cast<const char*>(png.data()), png.size());
    if (!bytes.starts_with(signature) || bytes.size() < signature.size() + header_chunk_size)
        return {};
    const std::string_view header = bytes.substr(signature.size() + length_size + type_size);
    return {static_cast<std::uint32_t>(read_big_endian(header)),
            static_cast<std::uint32_t>(read_big_endian(header.substr(length_size)))};
}

} // namespace orv::picture
