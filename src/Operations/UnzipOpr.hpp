#pragma once

#include <orv/Operations/UnzipOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>
#include <optional>
#include <string>

namespace orv {

/// Starts the unpacking of the archive at `archive_url` into a new folder inside the one at
/// `dest_url`.
std::shared_ptr<UnzipOperation> unzip_archive(Url archive_url, Url dest_url,
                                              std::optional<std::string> password,
                                              UnzipOperation::StatusClosure status_closure);

} // namespace orv
