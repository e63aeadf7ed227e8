#pragma once

#include "archive/Bytes.hpp"

#include <array>
#include <cstdint>
#include <string_view>

namespace orv::archive {

/// The length of a key, by its number in the format.
enum class AesStrength : std::uint8_t { aes_128 = 1, aes_192 = 2, aes_256 = 3 };

/// The keys of one entry. Each entry needs a salt of its own, or one key stream would encrypt two.
class AesKeys {
public:
    /// Keys not yet derived. `salt` is as long as `salt_size` says.
    AesKeys(AesStrength strength, ByteView salt);

    static constexpr std::size_t at_once = 4;
    /// Derives the keys, all of one strength, from the password. As many as `at_once` take hardly
    /// longer than one.
    static void derive(std::string_view password, std::span<AesKeys> keys);

    [[nodiscard]] static std::size_t salt_size(AesStrength strength);
    static constexpr std::size_t check_size = 2;

    [[nodiscard]] ByteView salt() const;
    [[nodiscard]] ByteView cipher_key() const;
    [[nodiscard]] ByteView code_key() const;
    /// Tells most wrong passwords.
    [[nodiscard]] ByteView password_check() const;

private:
    [[nodiscard]] std::size_t key_size() const { return 2 * salt_size(strength_); }
    void take(const std::uint32_t* words);

    AesStrength strength_;
    std::array<std::byte, 16> salt_{};
    std::array<std::byte, 80> derived_{};
};

} // namespace orv::archive
