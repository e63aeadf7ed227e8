#include "utility/ByteScan.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace orv {

/// Pairs of neighbouring bytes at `step` places, and a mask of the hits among the places.
class ByteScan::Window {
public:
    explicit Window(const char* bytes)
    {
        for (std::size_t i = 0; i < first_.size(); ++i) {
            std::memcpy(&first_[i], bytes + i * sizeof(Block), sizeof(Block));
            std::memcpy(&second_[i], bytes + i * sizeof(Block) + 1, sizeof(Block));
        }
    }

    void look_for(const Pattern& pattern)
    {
        for (std::size_t i = 0; i < first_.size(); ++i) {
            const auto first = (first_[i] & pattern.first_mask) == pattern.first_value;
            const auto second = (second_[i] & pattern.second_mask) == pattern.second_value;
            Block both;
            const auto hits = first & second;
            std::memcpy(&both, &hits, sizeof both);
            hits_[i] |= both;
        }
    }

    [[nodiscard]] bool is_ascii() const
    {
        Block bytes = first_[0] | second_[0];
        for (std::size_t i = 1; i < first_.size(); ++i)
            bytes |= first_[i] | second_[i];
        return !any(bytes & (Block{} + std::uint8_t{0x80}));
    }

    /// `step` when there is none.
    [[nodiscard]] std::size_t first_hit() const
    {
        if (!any(hits_[0] | hits_[1] | hits_[2] | hits_[3]))
            return step;
        std::array<unsigned char, step> hits{};
        std::memcpy(hits.data(), hits_.data(), step);
        const void* hit = std::memchr(hits.data(), 0xFF, step);
        return static_cast<std::size_t>(static_cast<const unsigned char*>(hit) - hits.data());
    }

private:
    static bool any(const Block& block)
    {
        std::array<std::uint64_t, sizeof(Block) / sizeof(std::uint64_t)> words{};
        std::memcpy(words.data(), &block, sizeof block);
        return (words[0] | words[1]) != 0;
    }

    std::array<Block, step / sizeof(Block)> first_;
    std::array<Block, step / sizeof(Block)> second_;
    std::array<Block, step / sizeof(Block)> hits_{};
};

ByteScan::ByteScan(const std::vector<BytePair>& pairs)
{
    const Block zero{};
    for (const BytePair& pair : pairs) {
        const bool is_high = pair.first.is_high() || pair.second.is_high();
        (is_high ? high_patterns_ : patterns_)
            .push_back({zero + pair.first.mask, zero + pair.first.value, zero + pair.second.mask,
                        zero + pair.second.value});
    }
}

std::size_t ByteScan::next(std::string_view text, std::size_t from) const
{
    for (; text.size() - from > step; from += step)
        if (const std::size_t place = first_in_window(text.data() + from); place < step)
            return from + place;
    const std::string_view rest = text.substr(from);
    std::array<char, step + 1> padded{};
    std::copy(rest.begin(), rest.end(), padded.begin());
    return std::min(from + first_in_window(padded.data()), text.size());
}

std::size_t ByteScan::first_in_window(const char* bytes) const
{
    Window window(bytes);
    for (const Pattern& pattern : patterns_)
        window.look_for(pattern);
    if (!high_patterns_.empty() && !window.is_ascii())
        for (const Pattern& pattern : high_patterns_)
            window.look_for(pattern);
    return window.first_hit();
}

} // namespace orv
