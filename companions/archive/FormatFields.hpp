#pragma once

#include "archive/AesKeys.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <time.h>

namespace orv::archive {

/// A field of an archive beside an entry's name.
struct ExtraField {
    std::uint16_t id;
    std::vector<std::uint8_t> data;
    bool is_local; ///< true if it also stands before the content
};

/// The fields of an item with this name and modification time.
[[nodiscard]] std::vector<ExtraField> extra_fields_of(std::string_view name, const timespec& time);

/// An entry's AES encryption.
struct AesField {
    std::uint16_t version; ///< in 2, entries have no checksum beside the encryption's
    AesStrength strength;
    std::uint16_t method; ///< compression of the encrypted content
};

/// The facts in the fields of an entry.
struct ToldByFields {
    std::optional<timespec> time;
    std::optional<std::string> name; ///< the name in UTF-8
    bool is_exact_name = false;      ///< the name is meant byte for byte
    std::optional<std::uint64_t> size, packed_size, offset;
    std::optional<AesField> aes;
    bool is_malformed = false;
};

/// The numbers of an entry too large for their usual place, kept in a field.
struct LargeNumbers {
    bool size, packed_size, offset;
};

[[nodiscard]] ToldByFields read_extra_fields(std::string_view fields, std::string_view name,
                                             const LargeNumbers& large);

} // namespace orv::archive
