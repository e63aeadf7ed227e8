#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv::test {

/// An entry of an archive that may lie about anything. What is not set is as it should be.
struct RawEntry {
    std::string name;
    std::string content = {}; ///< as it stands in the archive
    std::uint32_t mode = 0100644;
    std::uint8_t host = 3;
    std::uint16_t flags = 0x800; ///< the name is UTF-8
    std::uint16_t method = 0;
    std::optional<std::uint32_t> size = {};
    std::optional<std::uint32_t> packed_size = {};
    std::optional<std::uint32_t> crc = {};
    std::string fields = {};
    bool has_header = true; ///< else it shares that of the entry before it
};

/// The archive's bytes, every entry stored as it is.
[[nodiscard]] std::string raw_zip(const std::vector<RawEntry>& entries,
                                  const std::string& comment = {});

/// The number's bytes, the lowest first.
[[nodiscard]] std::string little_endian(std::uint64_t number, int bytes);

/// A field beside an entry's name.
[[nodiscard]] std::string extra_field(std::uint16_t id, const std::string& data);

[[nodiscard]] std::uint32_t crc_of(const std::string& text);

} // namespace orv::test
