#include "archive/PackedContent.hpp"

#include "archive/LittleEndian.hpp"
#include "archive/ReadAt.hpp"

#include <algorithm>
#include <array>

namespace orv::archive {

PackedContent::PackedContent(const ArchiveToRead& archive, const ArchiveDirectory& directory,
                             const Entry& entry, const std::optional<std::string>& password)
    : archive_(archive), entry_(entry)
{
    locate(directory);
    if (entry.aes_strength)
        begin_decryption(password);
}

/// The header before the content says again how long the name is, and has fields of its own.
void PackedContent::locate(const ArchiveDirectory& directory)
{
    std::string text(entry_header_size, '\0');
    position_ = entry_.offset;
    read(std::as_writable_bytes(std::span(text)));
    LittleEndian header(text);
    const bool is_header = header.text(entry_header_mark.size()) == entry_header_mark;
    header.text(2 + 2); // the version needed, the flags
    const std::uint16_t method = header.u16();
    header.text(2 + 2 + 4 + 4 + 4); // the time, the checksum, the sizes
    position_ += std::uint64_t{header.u16()} + header.u16();
    if (!is_header || method != entry_.method || position_ > directory.offset ||
        entry_.packed_size > directory.offset - position_)
        throw damaged(archive_.url, entry_.name);
    end_ = position_ + entry_.packed_size;
}

void PackedContent::begin_decryption(const std::optional<std::string>& password)
{
    if (!password)
        throw archive_error("The archive needs a password.", archive_.url, entry_.name)
            .known_as(Cause::needs_password);
    const AesStrength strength = *entry_.aes_strength;
    Bytes begin(AesKeys::salt_size(strength) + AesKeys::check_size);
    if (left() < begin.size() + AesStream::code_size)
        throw DamagedContent();
    read(begin);
    AesKeys keys(strength, begin);
    AesKeys::derive(*password, {&keys, 1});
    const ByteView check = keys.password_check();
    if (!std::equal(check.begin(), check.end(), begin.end() - AesKeys::check_size))
        throw wrong_password(archive_.url, entry_.name);
    decryption_.emplace(keys);
    end_ -= AesStream::code_size;
}

ByteView PackedContent::next(std::uint64_t max_size, Bytes& buffer)
{
    buffer.resize(static_cast<std::size_t>(std::min(max_size, left())));
    read(buffer);
    if (decryption_)
        decryption_->decrypt(buffer);
    return buffer;
}

void PackedContent::finish(Bytes& buffer)
{
    constexpr std::uint64_t rest_size = 256 * 1024;
    if (!decryption_)
        return;
    while (left() > 0)
        next(rest_size, buffer);
    std::array<std::byte, AesStream::code_size> code;
    read(code);
    if (code != decryption_->code())
        throw DamagedContent();
}

void PackedContent::read(std::span<std::byte> buffer)
{
    if (read_at(archive_.file.get(), position_, buffer, archive_.url) != buffer.size())
        throw damaged(archive_.url, entry_.name);
    position_ += buffer.size();
}

} // namespace orv::archive
