#pragma once

#include <orv/Misc/FileItem.hpp>

#include <chrono>
#include <cstdint>
#include <string>

namespace orv::app {

/// Such as "417 B" or "71.9 MB"; a kilobyte has 1000 bytes.
[[nodiscard]] std::string human_size(double bytes);

/// Such as "0:07" or "1:02:03".
[[nodiscard]] std::string human_duration(std::chrono::seconds duration);

/// In local time, such as "2024-07-02 21:40".
[[nodiscard]] std::string local_date(FileItem::Date date);

/// Such as "2024-07-02T19:40:00.000000000Z".
[[nodiscard]] std::string utc_date(FileItem::Date date);

} // namespace orv::app
