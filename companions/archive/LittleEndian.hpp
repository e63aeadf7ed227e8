#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orv::archive {

/// Reads numbers from a text, the lowest byte first. Past the end it reads zeros and says so.
class LittleEndian {
public:
    explicit LittleEndian(std::string_view bytes) : bytes_(bytes) {}

    template <class Number>
    Number take()
    {
        std::uint64_t value = 0;
        const std::string_view taken = text(sizeof(Number));
        for (std::size_t i = taken.size(); i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(taken[i]);
        return static_cast<Number>(value);
    }
    std::uint16_t u16() { return take<std::uint16_t>(); }
    std::uint32_t u32() { return take<std::uint32_t>(); }
    std::uint64_t u64() { return take<std::uint64_t>(); }

    /// The next `size` bytes; nothing when there are fewer.
    std::string_view text(std::size_t size)
    {
        if (size > bytes_.size()) {
            ran_out_ = true;
            size = 0;
            bytes_ = {};
        }
        const std::string_view taken = bytes_.substr(0, size);
        bytes_.remove_prefix(size);
        return taken;
    }

    [[nodiscard]] std::size_t left() const { return bytes_.size(); }
    [[nodiscard]] bool ran_out() const { return ran_out_; }

private:
    std::string_view bytes_;
    bool ran_out_ = false;
};

} // namespace orv::archive
