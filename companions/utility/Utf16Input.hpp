#pragma once

#include <orv/utility/FunctionRef.hpp>

#include <cstddef>
#include <vector>

namespace orv {

/// Reads at most `size` bytes to `to` and says how many there were; 0 at the end.
using ReadBytes = FunctionRef<std::size_t(char* to, std::size_t size)>;

/// Reads UTF-16 as UTF-8. Invalid units become U+FFFD.
class Utf16Input {
public:
    enum class Order { little_endian, big_endian };
    static constexpr std::size_t longest_character = 4;

    /// `first` holds the bytes already read from `input`.
    Utf16Input(ReadBytes input, Order order, std::vector<char> first)
        : input_(input), order_(order), units_(std::move(first))
    {
    }

    /// Works as `ReadBytes` does. `size` is at least `longest_character`.
    std::size_t read(char* to, std::size_t size);

private:
    bool provide(std::size_t bytes);
    [[nodiscard]] char16_t unit(std::size_t index) const;
    [[nodiscard]] char32_t take_character();

    ReadBytes input_;
    Order order_;
    std::vector<char> units_;
    std::size_t taken_ = 0; // bytes of units_
};

} // namespace orv
