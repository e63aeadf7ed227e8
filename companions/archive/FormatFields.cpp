#include "archive/FormatFields.hpp"

#include "archive/EntryNames.hpp"
#include "archive/Libdeflate.hpp"
#include "archive/LittleEndian.hpp"

#include <limits>

namespace orv::archive {
namespace {

constexpr std::uint16_t large_numbers_field = 0x0001;
constexpr std::uint16_t fine_time_field = 0x000a; // in units of 100 ns since 1601
constexpr std::uint16_t unix_time_field = 0x5455; // in seconds since 1970, 32 bits
constexpr std::uint16_t unicode_name_field = 0x7075;
constexpr std::uint16_t aes_field = 0x9901;
constexpr std::uint16_t exact_name_field = 0x766f; // our own: the name is meant byte for byte

constexpr std::uint8_t has_change_time = 1;
constexpr std::uint16_t fine_times_tag = 1;
constexpr std::int64_t seconds_from_1601_to_1970 = 11'644'473'600;
constexpr std::int64_t ticks_per_second = 10'000'000;

void append(std::vector<std::uint8_t>& to, std::uint64_t number, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        to.push_back(static_cast<std::uint8_t>(number >> 8 * i));
}

bool is_letter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// True if other tools could misread the name's bytes.
bool is_ambiguous(std::string_view name)
{
    return name.find('\\') != std::string_view::npos ||
           (name.size() > 1 && is_letter(name[0]) && name[1] == ':') || !is_utf8(name);
}

bool fits_unix_field(const timespec& time)
{
    return time.tv_sec >= std::numeric_limits<std::int32_t>::min() &&
           time.tv_sec <= std::numeric_limits<std::int32_t>::max();
}

bool fits_fine_field(const timespec& time)
{
    return time.tv_sec > -seconds_from_1601_to_1970 &&
           time.tv_sec < std::numeric_limits<std::int64_t>::max() / ticks_per_second -
                             seconds_from_1601_to_1970;
}

ExtraField fine_time(const timespec& time)
{
    const auto ticks = static_cast<std::uint64_t>(
        (time.tv_sec + seconds_from_1601_to_1970) * ticks_per_second + time.tv_nsec / 100);
    ExtraField field{fine_time_field, {}, false};
    append(field.data, 0, 4);
    append(field.data, fine_times_tag, 2);
    append(field.data, 3 * sizeof ticks, 2);
    for (int i = 0; i < 3; ++i) // changed, read, created
        append(field.data, ticks, sizeof ticks);
    return field;
}

std::optional<timespec> read_fine_time(LittleEndian field)
{
    field.u32();
    while (field.left() > 0) {
        const std::uint16_t tag = field.u16();
        LittleEndian times(field.text(field.u16()));
        if (tag != fine_times_tag || field.ran_out())
            continue;
        const auto ticks = times.take<std::int64_t>();
        if (ticks <= 0)
            return std::nullopt;
        return timespec{ticks / ticks_per_second - seconds_from_1601_to_1970,
                        ticks % ticks_per_second * 100};
    }
    return std::nullopt;
}

std::optional<timespec> read_unix_time(LittleEndian field)
{
    if ((field.take<std::uint8_t>() & has_change_time) == 0 || field.left() < 4)
        return std::nullopt;
    return timespec{field.take<std::int32_t>(), 0};
}

/// The name in the field, if it belongs to the name beside it.
std::optional<std::string> read_unicode_name(std::string_view field, std::string_view name)
{
    LittleEndian numbers(field);
    const bool is_known = numbers.take<std::uint8_t>() == 1;
    const std::uint32_t crc = numbers.u32();
    const std::string_view text = numbers.text(numbers.left());
    if (!is_known || numbers.ran_out() || crc != libdeflate_crc32(0, name.data(), name.size()) ||
        !is_utf8(text))
        return std::nullopt;
    return std::string(text);
}

std::optional<AesField> read_aes(LittleEndian field)
{
    const std::uint16_t version = field.u16();
    const bool is_known_vendor = field.text(2) == "AE";
    const auto strength = field.take<std::uint8_t>();
    const std::uint16_t method = field.u16();
    if (field.ran_out() || !is_known_vendor || version < 1 || version > 2 || strength < 1 ||
        strength > 3)
        return std::nullopt;
    return AesField{version, AesStrength{strength}, method};
}

} // namespace

std::vector<ExtraField> extra_fields_of(std::string_view name, const timespec& time)
{
    std::vector<ExtraField> fields;
    if (fits_unix_field(time)) {
        ExtraField field{unix_time_field, {has_change_time}, true};
        append(field.data, static_cast<std::uint64_t>(time.tv_sec), 4);
        fields.push_back(std::move(field));
    }
    if (fits_fine_field(time) && (time.tv_nsec >= 100 || !fits_unix_field(time)))
        fields.push_back(fine_time(time));
    if (is_ambiguous(name))
        fields.push_back({exact_name_field, {}, false});
    return fields;
}

ToldByFields read_extra_fields(std::string_view fields, std::string_view name,
                               const LargeNumbers& large)
{
    ToldByFields told;
    std::optional<timespec> fine;
    for (LittleEndian rest(fields); rest.left() >= 4;) {
        const std::uint16_t id = rest.u16();
        const std::string_view data = rest.text(rest.u16());
        LittleEndian field(data);
        if (rest.ran_out())
            break;
        if (id == large_numbers_field) {
            if (large.size)
                told.size = field.u64();
            if (large.packed_size)
                told.packed_size = field.u64();
            if (large.offset)
                told.offset = field.u64();
            told.is_malformed = field.ran_out();
        } else if (id == fine_time_field) {
            fine = read_fine_time(field);
        } else if (id == unix_time_field) {
            told.time = read_unix_time(field);
        } else if (id == unicode_name_field) {
            told.name = read_unicode_name(data, name);
        } else if (id == aes_field) {
            told.aes = read_aes(field);
        } else if (id == exact_name_field) {
            told.is_exact_name = true;
        }
    }
    if (fine)
        told.time = fine;
    return told;
}

} // namespace orv::archive
