#include "utility/Utf16Input.hpp"

#include "utility/Utf8.hpp"

#include <unicode/utf16.h>

namespace orv {
namespace {

constexpr std::size_t utf16_piece = 32 * 1024;
constexpr std::size_t unit_size = sizeof(char16_t);
constexpr char32_t replacement = 0xFFFD;

} // namespace

std::size_t Utf16Input::read(char* to, std::size_t size)
{
    std::size_t written = 0;
    while (size - written >= longest_character && provide(unit_size))
        written += append_utf8(to + written, take_character());
    return written;
}

/// Sees to it that `bytes` are available, if so many are left. A half unit at the end counts as
/// none.
bool Utf16Input::provide(std::size_t bytes)
{
    while (units_.size() - taken_ < bytes) {
        units_.erase(units_.begin(), units_.begin() + static_cast<std::ptrdiff_t>(taken_));
        taken_ = 0;
        const std::size_t held = units_.size();
        units_.resize(held + utf16_piece);
        const std::size_t count = input_(units_.data() + held, utf16_piece);
        units_.resize(held + count);
        if (count == 0)
            return false;
    }
    return true;
}

char16_t Utf16Input::unit(std::size_t index) const
{
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned>(
            static_cast<unsigned char>(units_[taken_ + unit_size * index + i]));
    };
    const bool little = order_ == Order::little_endian;
    return static_cast<char16_t>(little ? byte(0) | byte(1) << 8 : byte(1) | byte(0) << 8);
}

char32_t Utf16Input::take_character()
{
    const char16_t first = unit(0);
    char32_t result = first;
    if (U16_IS_SURROGATE(first)) {
        const bool is_pair = U16_IS_LEAD(first) && provide(2 * unit_size) && U16_IS_TRAIL(unit(1));
        result =
            is_pair ? static_cast<char32_t>(U16_GET_SUPPLEMENTARY(first, unit(1))) : replacement;
        taken_ += is_pair ? unit_size : 0;
    }
    taken_ += unit_size;
    return result;
}

} // namespace orv
