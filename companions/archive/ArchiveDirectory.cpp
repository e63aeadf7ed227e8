#include "archive/ArchiveDirectory.hpp"

#include "archive/EntryNames.hpp"
#include "archive/FormatFields.hpp"
#include "archive/LittleEndian.hpp"
#include "archive/ReadAt.hpp"
#include "files/Place.hpp"

#include <algorithm>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv::archive {
namespace {

constexpr std::string_view end_mark = "PK\5\6";
constexpr std::string_view large_end_mark = "PK\6\6";
constexpr std::string_view large_end_pointer_mark = "PK\6\7";
constexpr std::string_view directory_entry_mark = "PK\1\2";
constexpr std::string_view signature_mark = "PK\5\5";

constexpr std::uint64_t end_size = 22;
constexpr std::uint64_t large_end_size = 56;
constexpr std::uint64_t large_end_pointer_size = 20;
constexpr std::uint64_t directory_entry_size = 46;
constexpr std::uint64_t max_comment_size = 65535;
constexpr std::uint64_t flags_in_directory = 8;
constexpr std::uint64_t flags_in_header = 6;

constexpr std::uint32_t elsewhere_32 = 0xFFFFFFFF; // the number stands in an extra field

/// Where the directory stands, as the end of the archive tells it.
struct Location {
    std::uint64_t entry_count = 0;
    std::uint64_t size = 0;
    std::uint64_t offset = 0;
    std::uint64_t end = 0; // of the directory, at the start of these fields
    bool is_large = false; // the numbers have 64 bits
};

std::string read_text(const ArchiveToRead& archive, std::uint64_t position, std::uint64_t size)
{
    std::string text(static_cast<std::size_t>(size), '\0');
    text.resize(read_at(archive.file.get(), position, std::as_writable_bytes(std::span(text)),
                        archive.url));
    return text;
}

/// Start of the end record. A comment may follow, and other bytes after it are no fault, but an end
/// without a rest is better.
std::optional<std::uint64_t> find_end(const ArchiveToRead& archive)
{
    const std::uint64_t tail_size = std::min(archive.size, end_size + max_comment_size);
    const std::string tail = read_text(archive, archive.size - tail_size, tail_size);
    std::optional<std::uint64_t> found;
    for (std::size_t at = tail.rfind(end_mark); at != std::string::npos;
         at = at == 0 ? std::string::npos : tail.rfind(end_mark, at - 1)) {
        if (tail.size() - at < end_size)
            continue;
        const std::uint64_t comment_size =
            LittleEndian(std::string_view(tail).substr(at + end_size - 2)).u16();
        const std::uint64_t left = tail.size() - at - end_size;
        if (comment_size == left)
            return archive.size - tail_size + at;
        if (comment_size < left && !found)
            found = archive.size - tail_size + at;
    }
    return found;
}

Location read_large_end(const ArchiveToRead& archive, std::uint64_t position)
{
    const std::string text = read_text(archive, position, large_end_size);
    LittleEndian record(text);
    if (record.text(large_end_mark.size()) != large_end_mark)
        throw damaged(archive.url);
    record.text(2 + 8 + 2); // of its own size, the versions
    const std::uint32_t disk = record.u32();
    const std::uint32_t directory_disk = record.u32();
    const std::uint64_t count_here = record.u64();
    Location location;
    location.entry_count = record.u64();
    location.size = record.u64();
    location.offset = record.u64();
    location.end = position;
    location.is_large = true;
    if (record.ran_out() || disk != 0 || directory_disk != 0 || count_here != location.entry_count)
        throw damaged(archive.url);
    return location;
}

/// Where the record with the large numbers stands, if the archive has one.
std::optional<std::uint64_t> find_large_end(const ArchiveToRead& archive, std::uint64_t end)
{
    if (end < large_end_pointer_size + large_end_size)
        return std::nullopt;
    const std::uint64_t pointer_position = end - large_end_pointer_size;
    const std::string text = read_text(archive, pointer_position, large_end_pointer_size);
    LittleEndian pointer(text);
    if (pointer.text(large_end_pointer_mark.size()) != large_end_pointer_mark)
        return std::nullopt;
    pointer.u32(); // the disk
    const std::uint64_t told = pointer.u64();
    const std::uint64_t latest = pointer_position - large_end_size;
    if (told <= latest && read_text(archive, told, large_end_mark.size()) == large_end_mark)
        return told;
    return latest; // as in an archive with something else before it
}

Location locate_directory(const ArchiveToRead& archive)
{
    const auto end = find_end(archive);
    if (!end)
        throw archive_error("This is no zip archive, or its end is missing.", archive.url);
    if (const auto large_end = find_large_end(archive, *end))
        return read_large_end(archive, *large_end);
    const std::string text = read_text(archive, *end + end_mark.size(), end_size);
    LittleEndian record(text);
    const std::uint16_t disk = record.u16();
    const std::uint16_t directory_disk = record.u16();
    const std::uint16_t count_here = record.u16();
    Location location;
    location.entry_count = record.u16();
    location.size = record.u32();
    location.offset = record.u32();
    location.end = *end;
    if (disk != 0 || directory_disk != 0 || count_here != location.entry_count)
        throw archive_error("The archive is only a part of one that was split.", archive.url)
            .known_as(Cause::unsupported);
    return location;
}

/// The directory's text, with only a part in memory.
class DirectoryText {
public:
    DirectoryText(const ArchiveToRead& archive, std::uint64_t begin, std::uint64_t end)
        : archive_(archive), position_(begin), end_(end)
    {
    }

    [[nodiscard]] std::uint64_t position() const { return position_ - (buffer_.size() - at_); }

    /// The next bytes, valid until the next call; fewer at the end.
    std::string_view take(std::size_t size)
    {
        const std::string_view taken = peek(size);
        at_ += taken.size();
        return taken;
    }

    /// The same bytes, without going on.
    std::string_view peek(std::size_t size)
    {
        if (buffer_.size() - at_ < size) {
            buffer_.erase(0, at_);
            at_ = 0;
            const std::uint64_t more = std::min<std::uint64_t>(end_ - position_, buffer_size);
            buffer_ += read_text(archive_, position_, more);
            position_ += more;
        }
        return std::string_view(buffer_).substr(at_, size);
    }

private:
    static constexpr std::uint64_t buffer_size = 1 << 20;

    const ArchiveToRead& archive_;
    std::uint64_t position_;
    std::uint64_t end_;
    std::string buffer_;
    std::size_t at_ = 0;
};

std::optional<timespec> dos_time(std::uint16_t time, std::uint16_t date)
{
    if (date == 0)
        return std::nullopt;
    struct tm parts {};
    parts.tm_year = (date >> 9) + 80;
    parts.tm_mon = (date >> 5 & 15) - 1;
    parts.tm_mday = date & 31;
    parts.tm_hour = time >> 11;
    parts.tm_min = time >> 5 & 63;
    parts.tm_sec = (time & 31) * 2;
    parts.tm_isdst = -1;
    const time_t seconds = ::mktime(&parts);
    return seconds == -1 ? std::nullopt : std::optional(timespec{seconds, 0});
}

/// The fixed fields before an entry's texts, needed to read them.
struct FixedPart {
    std::uint16_t date;
    std::size_t name_size, fields_size, comment_size;
};

FixedPart read_fixed_part(LittleEndian& record, Entry& entry)
{
    record.take<std::uint8_t>(); // the version made by
    entry.host = record.take<std::uint8_t>();
    record.u16(); // the version needed
    entry.flags = record.u16();
    entry.method = record.u16();
    entry.inner_method = entry.method;
    FixedPart fixed{};
    entry.packed_time = record.u16();
    fixed.date = record.u16();
    entry.crc = record.u32();
    entry.packed_size = record.u32();
    entry.size = record.u32();
    fixed.name_size = record.u16();
    fixed.fields_size = record.u16();
    fixed.comment_size = record.u16();
    record.u32(); // the disk, the kind of text
    entry.attributes = record.u32();
    entry.offset = record.u32();
    return fixed;
}

/// Adds the facts in the entry's fields.
ToldByFields apply_fields(std::string_view fields, Entry& entry, const Url& archive)
{
    const LargeNumbers large{entry.size == elsewhere_32, entry.packed_size == elsewhere_32,
                             entry.offset == elsewhere_32};
    const ToldByFields told = read_extra_fields(fields, entry.name, large);
    if (told.is_malformed)
        throw damaged(archive, entry.name);
    entry.size = told.size.value_or(entry.size);
    entry.packed_size = told.packed_size.value_or(entry.packed_size);
    entry.offset = told.offset.value_or(entry.offset);
    entry.has_exact_name = told.is_exact_name;
    entry.time = told.time;
    if (told.name)
        entry.name = *told.name;
    if (told.aes && entry.method == aes_method) {
        constexpr std::uint16_t without_checksums = 2;
        entry.inner_method = told.aes->method;
        entry.aes_strength = told.aes->strength;
        entry.has_checksum = told.aes->version != without_checksums;
    }
    return told;
}

bool is_utf8_flag_wrong(std::uint16_t flags, std::string_view name)
{
    const bool is_ascii = std::all_of(name.begin(), name.end(),
                                      [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return !is_ascii && ((flags & utf8_flag) != 0) != is_utf8(name);
}

/// Adds the next entry; true if its name may be in any encoding.
bool read_entry(DirectoryText& text, const Url& archive, ArchiveDirectory& directory)
{
    const std::uint64_t entry_position = text.position();
    LittleEndian record(text.take(directory_entry_size));
    if (record.text(directory_entry_mark.size()) != directory_entry_mark ||
        record.left() != directory_entry_size - directory_entry_mark.size())
        throw damaged(archive);
    Entry& entry = directory.entries.emplace_back();
    entry.number = static_cast<std::uint32_t>(directory.entries.size() - 1);
    const FixedPart fixed = read_fixed_part(record, entry);
    const std::size_t size = fixed.name_size + fixed.fields_size + fixed.comment_size;
    const std::string_view texts = text.take(size);
    if (texts.size() != size)
        throw damaged(archive);
    entry.name = texts.substr(0, fixed.name_size);
    const ToldByFields told =
        apply_fields(texts.substr(fixed.name_size, fixed.fields_size), entry, archive);
    if (!entry.time)
        entry.time = dos_time(entry.packed_time, fixed.date);
    if (is_utf8_flag_wrong(entry.flags, texts.substr(0, fixed.name_size)))
        directory.wrong_utf8_flags.push_back(entry_position + flags_in_directory);
    return !told.is_exact_name && !is_utf8(entry.name);
}

/// True if another entry follows, whatever the directory's count says. A signature may stand after
/// the last one.
bool goes_on(DirectoryText& text, std::uint64_t entries_read, const Location& location,
             const Url& archive)
{
    const std::string_view mark = text.peek(directory_entry_mark.size());
    if (mark == directory_entry_mark)
        return true;
    if (entries_read < location.entry_count || !(mark.empty() || mark == signature_mark))
        throw damaged(archive);
    return false;
}

/// A count of 16 bits may have wrapped; some tools write it so. Any other count, and a directory
/// hidden from its end record, would leave items out.
void check_nothing_is_missing(const ArchiveToRead& archive, const Location& location,
                              std::uint64_t before, const ArchiveDirectory& directory)
{
    const std::uint64_t read = directory.entries.size();
    const std::uint64_t counted = location.is_large ? read : read & 0xFFFF;
    if (counted != location.entry_count)
        throw damaged(archive.url);
    if (read > 0)
        return;
    for (const std::uint64_t begin : {std::uint64_t{0}, location.offset, before}) {
        const std::string mark = read_text(archive, begin, entry_header_mark.size());
        if (mark == entry_header_mark || mark == directory_entry_mark)
            throw damaged(archive.url);
    }
}

void decode(std::vector<Entry>& entries, const std::vector<std::uint32_t>& numbers)
{
    std::vector<std::string*> names;
    names.reserve(numbers.size());
    for (const std::uint32_t number : numbers)
        names.push_back(&entries[number].name);
    decode_names(names);
}

} // namespace

ArchiveToRead open_archive(const Url& url)
try {
    const Place place = Place::of(url);
    ArchiveToRead archive{FileDescriptor(::openat(place.folder(), place.name(),
                                                  O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)),
                          url, 0};
    struct stat facts {};
    if (!archive.file || ::fstat(archive.file.get(), &facts) != 0)
        throw platform_error(errno, url);
    if (!S_ISREG(facts.st_mode))
        throw platform_error(S_ISDIR(facts.st_mode) ? EISDIR : EINVAL, url);
    archive.size = static_cast<std::uint64_t>(facts.st_size);
    return archive;
} catch (const Error& error) {
    if (error.code() == ENOENT || error.code() == ENOTDIR)
        throw Zip::Error(Zip::Error::Case::file_not_found, error);
    throw;
}

ArchiveDirectory read_directory(const ArchiveToRead& archive, std::uint64_t max_entries,
                                const Job& job)
{
    const Location location = locate_directory(archive);
    if (location.size > location.end || location.offset > location.end - location.size ||
        location.entry_count > location.size / directory_entry_size)
        throw damaged(archive.url);
    const std::uint64_t limit =
        std::min<std::uint64_t>(max_entries, std::numeric_limits<std::uint32_t>::max());
    if (location.entry_count > limit)
        throw too_many_items(archive.url);

    // Offsets do not count bytes before the archive, such as a program to unpack it.
    const std::uint64_t before = location.end - location.size - location.offset;
    ArchiveDirectory directory{{}, location.end - location.size, {}};
    DirectoryText text(archive, directory.offset, location.end);
    std::vector<std::uint32_t> undecoded;
    directory.entries.reserve(static_cast<std::size_t>(location.entry_count));
    for (std::uint32_t number = 0; goes_on(text, number, location, archive.url); ++number) {
        if (number % 1024 == 0)
            job.check();
        if (number == limit)
            throw too_many_items(archive.url);
        const std::size_t wrong_flags = directory.wrong_utf8_flags.size();
        if (read_entry(text, archive.url, directory))
            undecoded.push_back(number);
        Entry& entry = directory.entries.back();
        if (__builtin_add_overflow(entry.offset, before, &entry.offset))
            throw damaged(archive.url, entry.name);
        if (directory.wrong_utf8_flags.size() > wrong_flags)
            directory.wrong_utf8_flags.push_back(entry.offset + flags_in_header);
    }
    check_nothing_is_missing(archive, location, before, directory);
    decode(directory.entries, undecoded);
    return directory;
}

Error archive_error(std::string_view sentence, const Url& archive, std::string_view entry)
{
    std::string message(sentence);
    message.append(" (").append(archive.path());
    if (!entry.empty())
        message.append(", item ").append(entry);
    message += ')';
    return Error(std::string(sentence))
        .known_as(Cause::damaged)
        .at(archive)
        .with_message(std::move(message));
}

Error wrong_password(const Url& archive, std::string_view entry)
{
    return archive_error("The password is wrong.", archive, entry).known_as(Cause::wrong_password);
}

Error too_many_items(const Url& archive)
{
    return archive_error("The archive holds too many items.", archive).known_as(Cause::too_large);
}

Error damaged(const Url& archive, std::string_view entry)
{
    return archive_error("The archive is damaged.", archive, entry);
}

} // namespace orv::archive
