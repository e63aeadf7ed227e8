#include "archive/AesKeys.hpp"

#include "archive/Libcrypto.hpp"
#include "archive/Sha1Lanes.hpp"

#include <algorithm>
#include <new>

#if defined(__x86_64__) && !defined(__clang__)
#include <sys/platform/x86.h>
#endif

namespace orv::archive {
namespace {

// The format derives keys by PBKDF2 with HMAC-SHA1: 8,000 blocks of SHA-1 for each entry. With
// small files they took more than half of the time. OpenSSL hashes one block after the other and
// takes 1.0 ms. The blocks of a key, and keys of several entries, do not depend on each other, so
// vectors hash them together: in 0.06 ms with AVX-512, 0.17 with AVX2, 0.3 elsewhere.

constexpr int rounds = 1000;
constexpr int digest_words = 5;
constexpr std::size_t blocks_per_key = 4;
constexpr int hmac_block_words = 16;
constexpr std::uint32_t end_of_message = 0x80000000;

/// The results, lane by lane.
struct Derivation {
    std::array<std::uint32_t, hmac_block_words> password;
    int salt_words;
    std::uint32_t salt[AesKeys::at_once * blocks_per_key][4];
    std::uint32_t result[AesKeys::at_once * blocks_per_key][digest_words];
};

std::uint32_t big_endian(const std::byte* bytes)
{
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i)
        word = word << 8 | std::to_integer<std::uint32_t>(bytes[i]);
    return word;
}

/// Each lane derives a block of a key.
template <int lanes>
struct Pbkdf2Lanes : Sha1Lanes<lanes> {
    using typename Sha1Lanes<lanes>::Word;
    using Sha1Lanes<lanes>::state_size;
    using Sha1Lanes<lanes>::block_size;
    using Sha1Lanes<lanes>::compress;

    /// The state of SHA-1 after the first block of HMAC.
    [[gnu::always_inline]] static void begin_hmac(const Derivation& derivation, std::uint32_t pad,
                                                  Word* state)
    {
        Word block[block_size];
        for (int i = 0; i < block_size; ++i)
            block[i] = Word{} + (derivation.password[static_cast<std::size_t>(i)] ^ pad);
        Sha1Lanes<lanes>::begin(state);
        compress(state, block);
    }

    /// Ends `block` after so many words behind the first block of HMAC.
    [[gnu::always_inline]] static void end_message(Word* block, int words)
    {
        for (int i = words; i < block_size; ++i)
            block[i] = Word{};
        block[words] += end_of_message;
        block[block_size - 1] += static_cast<std::uint32_t>(hmac_block_words + words) * 32;
    }

    [[gnu::always_inline]] static void derive(Derivation& derivation)
    {
        Word inner[state_size], outer[state_size], block[block_size], sum[state_size] = {};
        begin_hmac(derivation, 0x36363636, inner);
        begin_hmac(derivation, 0x5C5C5C5C, outer);
        for (int lane = 0; lane < lanes; ++lane) {
            for (int i = 0; i < derivation.salt_words; ++i)
                block[i][lane] = derivation.salt[lane][i];
            block[derivation.salt_words][lane] =
                static_cast<std::uint32_t>(lane) % blocks_per_key + 1;
        }
        end_message(block, derivation.salt_words + 1);
        for (int round = 0; round < rounds; ++round) {
            Word state[state_size];
            std::copy_n(inner, state_size, state);
            compress(state, block);
            if (round == 0)
                end_message(block, digest_words);
            std::copy_n(state, state_size, block);
            std::copy_n(outer, state_size, state);
            compress(state, block);
            for (int i = 0; i < state_size; ++i)
                sum[i] ^= block[i] = state[i];
        }
        for (int lane = 0; lane < lanes; ++lane)
            for (int i = 0; i < state_size; ++i)
                derivation.result[lane][i] = sum[i][lane];
    }
};

// The same for wider registers, on processors with them.
#if defined(__x86_64__)
template <int lanes>
[[gnu::target("avx512f,avx512vl")]] void derive_in_512_bits(Derivation& derivation)
{
    Pbkdf2Lanes<lanes>::derive(derivation);
}

template <int lanes>
[[gnu::target("avx2")]] void derive_in_256_bits(Derivation& derivation)
{
    Pbkdf2Lanes<lanes>::derive(derivation);
}
#endif

// GCC's own question would ask the processor in every process, before main. The header with the C
// library's answer is not for Clang.
#if defined(__x86_64__) && defined(__clang__)
bool has_512_bits()
{
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl");
}

bool has_256_bits()
{
    return __builtin_cpu_supports("avx2");
}
#elif defined(__x86_64__)
bool has_512_bits()
{
    return CPU_FEATURE_ACTIVE(AVX512F) && CPU_FEATURE_ACTIVE(AVX512VL);
}

bool has_256_bits()
{
    return CPU_FEATURE_ACTIVE(AVX2);
}
#endif

template <int lanes>
void derive_in_lanes(Derivation& derivation)
{
#if defined(__x86_64__)
    if (has_512_bits())
        return derive_in_512_bits<lanes>(derivation);
    if (has_256_bits())
        return derive_in_256_bits<lanes>(derivation);
#endif
    Pbkdf2Lanes<lanes>::derive(derivation);
}

/// The password in HMAC's form: a digest replaces one longer than a block.
std::array<std::uint32_t, hmac_block_words> hmac_key(std::string_view password)
{
    std::array<std::byte, 4 * hmac_block_words> bytes{};
    const ByteView given = std::as_bytes(std::span(password));
    if (given.size() <= bytes.size())
        std::copy(given.begin(), given.end(), bytes.begin());
    else if (evp_digest(given.data(), given.size(), reinterpret_cast<unsigned char*>(bytes.data()),
                        nullptr, evp_sha1(), nullptr) != 1)
        throw std::bad_alloc();
    std::array<std::uint32_t, hmac_block_words> words{};
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = big_endian(&bytes[4 * i]);
    return words;
}

} // namespace

AesKeys::AesKeys(AesStrength strength, ByteView salt) : strength_(strength)
{
    std::copy_n(salt.begin(), salt_size(strength), salt_.begin());
}

std::size_t AesKeys::salt_size(AesStrength strength)
{
    return 4 + 4 * std::size_t{static_cast<std::uint8_t>(strength)};
}

ByteView AesKeys::salt() const
{
    return ByteView(salt_).first(salt_size(strength_));
}

ByteView AesKeys::cipher_key() const
{
    return ByteView(derived_).first(key_size());
}

ByteView AesKeys::code_key() const
{
    return ByteView(derived_).subspan(key_size(), key_size());
}

ByteView AesKeys::password_check() const
{
    return ByteView(derived_).subspan(2 * key_size(), check_size);
}

void AesKeys::derive(std::string_view password, std::span<AesKeys> keys)
{
    Derivation derivation{hmac_key(password), 0, {}, {}};
    while (!keys.empty()) {
        const auto now = keys.first(std::min(keys.size(), AesKeys::at_once));
        derivation.salt_words = static_cast<int>(now[0].salt().size() / 4);
        for (std::size_t lane = 0; lane < now.size() * blocks_per_key; ++lane)
            for (std::size_t i = 0; i < now[0].salt().size() / 4; ++i)
                derivation.salt[lane][i] = big_endian(&now[lane / blocks_per_key].salt_[4 * i]);
        if (now.size() == 1)
            derive_in_lanes<blocks_per_key>(derivation);
        else
            derive_in_lanes<AesKeys::at_once * blocks_per_key>(derivation);
        for (std::size_t i = 0; i < now.size(); ++i)
            now[i].take(&derivation.result[i * blocks_per_key][0]);
        keys = keys.subspan(now.size());
    }
}

/// The results of a key's blocks follow each other.
void AesKeys::take(const std::uint32_t* words)
{
    for (std::size_t i = 0; i < derived_.size(); ++i)
        derived_[i] = static_cast<std::byte>(words[i / 4] >> (24 - 8 * (i % 4)));
}

} // namespace orv::archive
