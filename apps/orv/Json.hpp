#pragma once

#include <orv/CustomAttributes/CustomAttributes.hpp>
#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/TrashedItem.hpp>

#include <string>
#include <string_view>

namespace orv::app {

/// `bytes` as a JSON string, quotes included. A byte 0xNN outside valid UTF-8 becomes the lone
/// surrogate \udcNN; no valid text contains one, so the name can be recovered (in Python with
/// `os.fsencode`). Control characters are escaped.
[[nodiscard]] std::string json_string(std::string_view bytes);

/// An object with every member of `item`. Locations are "file://" URLs, dates in UTC.
[[nodiscard]] std::string json(const FileItem& item);

[[nodiscard]] std::string json(const CustomAttributes& attributes);

[[nodiscard]] std::string json(const TrashedItem& item);

} // namespace orv::app
