#pragma once

#include "archive/Bytes.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orv::archive {

/// The state of the old encryption of zip archives. It changes with every plain byte.
class ClassicKeys {
public:
    /// Size of the header before the encrypted content. Its last bytes check the password.
    static constexpr std::size_t header_size = 12;

    explicit ClassicKeys(std::string_view password);

    std::byte decrypt(std::byte encrypted);
    std::byte encrypt(std::byte plain);

private:
    [[nodiscard]] std::byte mask() const;
    void follow(std::byte plain);

    std::uint32_t first_ = 0x12345678;
    std::uint32_t second_ = 0x23456789;
    std::uint32_t third_ = 0x34567890;
};

/// The last two bytes of the header that begins `packed`, decrypted: most programs write a known
/// number there.
///
/// Errors: none; 0 for less than a header.
[[nodiscard]] std::uint16_t check_number(ByteView packed, std::string_view password);

} // namespace orv::archive
