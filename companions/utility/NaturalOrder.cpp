#include "utility/NaturalOrder.hpp"

#include "utility/Text.hpp"
#include "utility/Utf8.hpp"

#include <algorithm>
#include <cstddef>

#include <unicode/uchar.h>

namespace orv {
namespace {

/// Appends `count` in a form with the order of the counts. No count is the beginning of another
/// one.
void append_count(std::string& key, std::size_t count)
{
    constexpr std::size_t most = 0xFF;
    for (; count >= most; count -= most)
        key += static_cast<char>(most);
    key += static_cast<char>(count);
}

/// The key of a folded text, up to the current place.
class NaturalKey {
public:
    void add(std::string_view character)
    {
        end_number();
        key_ += character;
    }

    void add_digit(char digit)
    {
        if (digit == '0' && digits_.empty())
            ++zeros_;
        else
            digits_ += digit;
    }

    std::string finish()
    {
        end_number();
        if (has_zeros_)
            key_.append(1, '\0').append(zeros_of_all_);
        return std::move(key_);
    }

private:
    /// More digits mean a larger number, since there are no leading zeros among them.
    void end_number()
    {
        if (digits_.empty() && zeros_ == 0)
            return;
        if (digits_.empty()) // the number 0 has no leading zero but its digit
            --zeros_;
        key_ += '0';
        append_count(key_, digits_.size());
        key_ += digits_;
        append_count(zeros_of_all_, zeros_);
        has_zeros_ = has_zeros_ || zeros_ > 0;
        digits_.clear();
        zeros_ = 0;
    }

    std::string key_;
    std::string digits_; // of the current number
    std::size_t zeros_ = 0;
    std::string zeros_of_all_;
    bool has_zeros_ = false;
};

/// The value of a decimal digit of any script; negative for another character.
int digit_value(const Utf8Character& character)
{
    if (character.code_point < 0x80)
        return character.code_point >= '0' && character.code_point <= '9'
                   ? static_cast<int>(character.code_point - '0')
                   : -1;
    return ::u_charDigitValue(character.code_point);
}

} // namespace

std::string natural_key(std::string_view text)
{
    const std::string folded = fold_key(text);
    NaturalKey key;
    for (std::size_t at = 0; at < folded.size();) {
        const Utf8Character character = character_at(folded, at);
        if (const int value = digit_value(character); value >= 0)
            key.add_digit(static_cast<char>('0' + value));
        else
            key.add(std::string_view(folded).substr(at, character.end - at));
        at = character.end;
    }
    return key.finish();
}

} // namespace orv
