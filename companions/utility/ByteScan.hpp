#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace orv {

/// A set of pairs of neighbouring bytes: a pair belongs to it if it has `value` where `mask` has
/// ones.
struct BytePair {
    struct Byte {
        std::uint8_t mask;
        std::uint8_t value;

        [[nodiscard]] bool matches(std::uint8_t byte) const { return (byte & mask) == value; }
        [[nodiscard]] bool is_high() const { return (mask & value & 0x80) != 0; }
        bool operator==(const Byte&) const = default;
    };

    Byte first;
    Byte second;
};

/// Looks for places in a text where one of some pairs of bytes stands, many places at a time.
class ByteScan {
public:
    ByteScan() = default;
    explicit ByteScan(const std::vector<BytePair>& pairs);

    /// The first place at or after `from`; the size of `text` when there is none. After the last
    /// byte, a zero counts as the second.
    [[nodiscard]] std::size_t next(std::string_view text, std::size_t from) const;

private:
    // A vector of bytes, as wide as the processor has it.
    using Block [[gnu::vector_size(16)]] = std::uint8_t;
    static constexpr std::size_t step = 4 * sizeof(Block);

    struct Pattern {
        Block first_mask, first_value, second_mask, second_value;
    };
    class Window;

    [[nodiscard]] std::size_t first_in_window(const char* bytes) const;

    std::vector<Pattern> patterns_;
    std::vector<Pattern> high_patterns_; // with a non-ASCII byte
};

} // namespace orv
