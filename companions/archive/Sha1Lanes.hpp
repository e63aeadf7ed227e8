#pragma once

#include <cstdint>

namespace orv::archive {

/// SHA-1 of `lanes` messages at a time, block by block. A vector holds one word of each message.
///
/// Its functions are inlined into their caller, and the caller chooses the processor.
template <int lanes>
struct Sha1Lanes {
    using Word [[gnu::vector_size(lanes * sizeof(std::uint32_t))]] = std::uint32_t;
    static constexpr int state_size = 5;
    static constexpr int block_size = 16;

    [[gnu::always_inline]] static void compress(Word* state, const Word* block)
    {
        Word w[block_size];
        for (int i = 0; i < block_size; ++i)
            w[i] = block[i];
        Word a = state[0], b = state[1], c = state[2], d = state[3], e = state[4];
#pragma GCC unroll 80
        for (int round = 0; round < 80; ++round) {
            if (round >= block_size)
                extend(w, round);
            const Word next = rotated(a, 5) + mixed(round, b, c, d) + e + w[round % block_size];
            e = d;
            d = c;
            c = rotated(b, 30);
            b = a;
            a = next;
        }
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
    }

    /// The state before the first block.
    [[gnu::always_inline]] static void begin(Word* state)
    {
        constexpr std::uint32_t start[state_size] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476,
                                                     0xC3D2E1F0};
        for (int i = 0; i < state_size; ++i)
            state[i] = Word{} + start[i];
    }

private:
    [[gnu::always_inline]] static Word rotated(const Word& word, int bits)
    {
        return word << bits | word >> (32 - bits);
    }

    [[gnu::always_inline]] static void extend(Word* w, int round)
    {
        const auto earlier = [&](int rounds) { return (round - rounds) % block_size; };
        Word& word = w[round % block_size];
        word = rotated(w[earlier(3)] ^ w[earlier(8)] ^ w[earlier(14)] ^ word, 1);
    }

    [[gnu::always_inline]] static Word mixed(int round, const Word& b, const Word& c, const Word& d)
    {
        if (round < 20)
            return (d ^ (b & (c ^ d))) + 0x5A827999U;
        if (round < 40)
            return (b ^ c ^ d) + 0x6ED9EBA1U;
        if (round < 60)
            return ((b & c) | (d & (b | c))) + 0x8F1BBCDCU;
        return (b ^ c ^ d) + 0xCA62C1D6U;
    }
};

} // namespace orv::archive
