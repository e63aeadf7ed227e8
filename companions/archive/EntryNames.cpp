#include "archive/EntryNames.hpp"

#include "archive/NameConverter.hpp"
#include "archive/NameEncoding.hpp"

#include <cstdint>
#include <optional>
#include <utility>

#include <unicode/utf8.h>

// ICU's macros mix char, uint8_t and int throughout.
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"

namespace orv::archive {

bool is_utf8(std::string_view text)
{
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t at = 0; at < size;) {
        UChar32 c = 0;
        U8_NEXT(text.data(), at, size, c);
        if (c < 0)
            return false;
    }
    return true;
}

void decode_names(const std::vector<std::string*>& names)
{
    if (names.empty())
        return;
    const NameConverter guessed(guess_encoding(names));
    const NameConverter standard(encoding_of_the_format);
    for (std::string* name : names) {
        std::optional<icu::UnicodeString> text = guessed.decoded(*name);
        if (!text)
            text = standard.decoded(*name);
        if (!text)
            continue;
        name->clear();
        text->toUTF8String(*name);
    }
}

} // namespace orv::archive
