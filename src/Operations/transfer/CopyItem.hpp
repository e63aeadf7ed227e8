#pragma once

#include "Operations/transfer/Standing.hpp"

#include <orv/utility/Url.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace orv {

/// An item for a transfer to copy.
struct CopyItem {
    std::size_t source; ///< the source it is, or lies in
    bool is_source;
    Url url;
    std::string name;     ///< in its folder
    std::string new_name; ///< at the destination
    std::string path;     ///< relative to its source's folder
    ItemFacts facts;

    [[nodiscard]] bool is_folder() const { return S_ISDIR(facts.stx_mode); }
    [[nodiscard]] bool is_link() const { return S_ISLNK(facts.stx_mode); }
    [[nodiscard]] bool is_file() const { return S_ISREG(facts.stx_mode); }

    /// Units: bytes.
    [[nodiscard]] std::int64_t size() const
    {
        return is_file() ? static_cast<std::int64_t>(facts.stx_size) : 0;
    }
};

} // namespace orv
