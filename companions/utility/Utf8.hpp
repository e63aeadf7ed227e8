#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <unicode/utf8.h>

// ICU's macros mix char, uint8_t and int throughout.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace orv {

/// A character of a text, or a byte of it outside UTF-8.
struct Utf8Character {
    UChar32 code_point; ///< negative for a stray byte
    std::size_t begin;
    std::size_t end;
};

/// The bytes as ICU takes them.
inline const std::uint8_t* bytes_of(std::string_view text)
{
    return static_cast<const std::uint8_t*>(static_cast<const void*>(text.data()));
}

/// The character at `at`, where one begins.
inline Utf8Character character_at(std::string_view text, std::size_t at)
{
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x80)
        return {byte, at, at + 1};
    std::size_t end = at;
    UChar32 c = 0;
    U8_NEXT(text.data(), end, text.size(), c);
    return {c, at, c < 0 ? at + 1 : end};
}

/// The character around the byte at `at`.
inline Utf8Character character_around(std::string_view text, std::size_t at)
{
    std::size_t begin = at;
    if (U8_IS_TRAIL(text[at]))
        U8_SET_CP_START(bytes_of(text), 0, begin);
    const Utf8Character character = character_at(text, begin);
    // A stray trailing byte may look like part of a cut character before it.
    return at < character.end ? character : Utf8Character{-1, at, at + 1};
}

/// True if a character begins at `at`.
inline bool begins_character(std::string_view text, std::size_t at)
{
    return at >= text.size() || character_around(text, at).begin == at;
}

/// The last character before `at`; there is one.
inline Utf8Character character_before(std::string_view text, std::size_t at)
{
    return character_around(text, at - 1);
}

/// Writes a code point as UTF-8, in at most four bytes, and says in how many.
inline std::size_t append_utf8(char* to, char32_t code_point)
{
    std::size_t size = 0;
    U8_APPEND_UNSAFE(to, size, code_point);
    return size;
}

inline std::string utf8_of(char32_t code_point)
{
    std::string result(U8_MAX_LENGTH, '\0');
    result.resize(append_utf8(result.data(), code_point));
    return result;
}

} // namespace orv

#pragma GCC diagnostic pop
