#include "archive/ClassicKeys.hpp"

#include "archive/Libdeflate.hpp"

namespace orv::archive {
namespace {

/// One step of a checksum, without the inversions before and after it.
std::uint32_t crc_step(std::uint32_t crc, std::byte byte)
{
    return ~libdeflate_crc32(~crc, &byte, 1);
}

} // namespace

ClassicKeys::ClassicKeys(std::string_view password)
{
    for (const char letter : password)
        follow(static_cast<std::byte>(letter));
}

std::byte ClassicKeys::decrypt(std::byte encrypted)
{
    const std::byte plain = encrypted ^ mask();
    follow(plain);
    return plain;
}

std::byte ClassicKeys::encrypt(std::byte plain)
{
    const std::byte encrypted = plain ^ mask();
    follow(plain);
    return encrypted;
}

std::byte ClassicKeys::mask() const
{
    const std::uint32_t low = (third_ | 2) & 0xFFFF;
    return static_cast<std::byte>(low * (low ^ 1) >> 8);
}

void ClassicKeys::follow(std::byte plain)
{
    first_ = crc_step(first_, plain);
    second_ = (second_ + (first_ & 0xFF)) * 134775813 + 1; // the numbers are the format's
    third_ = crc_step(third_, static_cast<std::byte>(second_ >> 24));
}

std::uint16_t check_number(ByteView packed, std::string_view password)
{
    if (packed.size() < ClassicKeys::header_size)
        return 0;
    ClassicKeys keys(password);
    std::uint32_t last_bytes = 0;
    for (const std::byte encrypted : packed.first(ClassicKeys::header_size))
        last_bytes = last_bytes >> 8 | std::to_integer<std::uint32_t>(keys.decrypt(encrypted)) << 8;
    return static_cast<std::uint16_t>(last_bytes);
}

} // namespace orv::archive
