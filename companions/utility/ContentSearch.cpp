#include "utility/ContentSearch.hpp"

#include <algorithm>
#include <string_view>

namespace orv {
namespace {

constexpr std::size_t text_piece = 256 * 1024;
constexpr std::string_view utf_8_mark = "\xEF\xBB\xBF";
constexpr std::string_view utf_16_little_endian_mark = "\xFF\xFE";
constexpr std::string_view utf_16_big_endian_mark = "\xFE\xFF";

} // namespace

ContentSearch::ContentSearch(const TextSearch& search)
    : search_(search), text_(text_piece + 2 * search.reach())
{
}

bool ContentSearch::found_in(ReadBytes read, FunctionRef<void()> check)
{
    size_ = 0;
    at_end_ = false;
    fill(read, check);
    const std::string_view text(text_.data(), size_);
    const bool is_little_endian = text.starts_with(utf_16_little_endian_mark);
    if (is_little_endian || text.starts_with(utf_16_big_endian_mark)) {
        const auto order =
            is_little_endian ? Utf16Input::Order::little_endian : Utf16Input::Order::big_endian;
        Utf16Input input(read, order, {text.begin() + 2, text.end()});
        size_ = 0;
        at_end_ = false;
        const auto read_converted = [&](char* to, std::size_t size) {
            return input.read(to, size);
        };
        fill(read_converted, check);
        return found_in_rest(read_converted, check);
    }
    if (text.starts_with(utf_8_mark))
        drop(utf_8_mark.size());
    return found_in_rest(read, check);
}

/// Reads until there is no more room or nothing more to read.
void ContentSearch::fill(ReadBytes read, FunctionRef<void()> check)
{
    while (text_.size() - size_ >= Utf16Input::longest_character && !at_end_) {
        check();
        const std::size_t count = read(text_.data() + size_, text_.size() - size_);
        size_ += count;
        at_end_ = count == 0;
    }
}

bool ContentSearch::found_in_rest(ReadBytes read, FunctionRef<void()> check)
{
    while (!at_end_) {
        // The piece may cut its last character, and marks for it may follow.
        const std::string_view text(text_.data(), size_);
        const std::size_t end = search_.cut_before(text, size_ - Utf16Input::longest_character);
        if (search_.found_in(text.substr(0, end), check))
            return true;
        drop(search_.cut_before(text, end - std::min(end, search_.reach())));
        fill(read, check);
    }
    return search_.found_in({text_.data(), size_}, check);
}

/// Forgets the first `count` bytes.
void ContentSearch::drop(std::size_t count)
{
    std::copy(text_.begin() + static_cast<std::ptrdiff_t>(count),
              text_.begin() + static_cast<std::ptrdiff_t>(size_), text_.begin());
    size_ -= count;
}

} // namespace orv
