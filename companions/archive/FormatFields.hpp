#pragma once

#include "archive/AesKeys.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <time.h>

namespace orv::archive {

/// A field that an archive keeps beside an entry's name.
struct ExtraField {
    std::uint16_t id;
    std::vector<std::uint8_t> data;
    bool is_local; ///< whether it also stands before the content
};

/// The fields of an item of this name that was changed at this time.
[[nodiscard]] std::vector<ExtraField> extra_fields_of(std::string_view name, const timespec& time);

/// How an entry is encrypted with AES.
struct AesField {
    std::uint16_t version; ///< in 2, entries have no checksum but that of the encryption
    AesStrength strength;
    std::uint16_t method; ///< how what is encrypted is packed
};

/// What the fields of an entry tell of it.
struct ToldByFields {
    std::optional<timespec> time;
    std::optional<std::string> name; ///< the name in UTF-8
    bool is_exact_name = false;      ///< the name is meant byte for byte
    std::optional<std::uint64_t> size, packed_size, offset;
    std::optional<AesField> aes;
    bool is_malformed = false;
};

/// Which of an entry's numbers are too large for their usual place, and stand in a field.
struct LargeNumbers {
    bool size, packed_size, offset;
};

[[nodiscard]] ToldByFields read_extra_fields(std::string_view fields, std::string_view name,
                                             const LargeNumbers& large);

} // namespace orv::archive
