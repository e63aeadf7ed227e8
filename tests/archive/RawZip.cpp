#include "archive/RawZip.hpp"

namespace orv::test {
namespace {

/// What the two headers of an entry have in common.
std::string shared_part(const RawEntry& entry)
{
    return little_endian(20, 2) + little_endian(entry.flags, 2) + little_endian(entry.method, 2) +
           little_endian(0x5A426000, 4) +
           little_endian(entry.crc.value_or(crc_of(entry.content)), 4) +
           little_endian(entry.packed_size.value_or(entry.content.size()), 4) +
           little_endian(entry.size.value_or(entry.content.size()), 4) +
           little_endian(entry.name.size(), 2) + little_endian(entry.fields.size(), 2);
}

} // namespace

std::string little_endian(std::uint64_t number, int bytes)
{
    std::string result;
    for (int i = 0; i < bytes; ++i)
        result += static_cast<char>(number >> 8 * i);
    return result;
}

std::string extra_field(std::uint16_t id, const std::string& data)
{
    return little_endian(id, 2) + little_endian(data.size(), 2) + data;
}

std::uint32_t crc_of(const std::string& text)
{
    std::uint32_t crc = ~0U;
    for (const char c : text) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320U : 0);
    }
    return ~crc;
}

std::string raw_zip(const std::vector<RawEntry>& entries, const std::string& comment)
{
    std::string archive;
    std::string directory;
    std::size_t offset = 0;
    for (const RawEntry& entry : entries) {
        if (entry.has_header) {
            offset = archive.size();
            archive += "PK\3\4" + shared_part(entry) + entry.name + entry.fields + entry.content;
        }
        directory += std::string("PK\1\2\x14") + static_cast<char>(entry.host) +
                     shared_part(entry) + little_endian(0, 2 + 2 + 2) +
                     little_endian(std::uint64_t{entry.mode} << 16, 4) + little_endian(offset, 4) +
                     entry.name + entry.fields;
    }
    const std::size_t start = archive.size();
    return archive + directory + "PK\5\6" + little_endian(0, 4) + little_endian(entries.size(), 2) +
           little_endian(entries.size(), 2) + little_endian(directory.size(), 4) +
           little_endian(start, 4) + little_endian(comment.size(), 2) + comment;
}

} // namespace orv::test
