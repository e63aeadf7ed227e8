#pragma once

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/Operations/ZipOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// Starts the packing of the items at `item_urls` into a new archive at `archive_url`.
std::shared_ptr<ZipOperation> zip_items(std::vector<Url> item_urls, Url archive_url,
                                        std::optional<std::string> password,
                                        ConflictBehaviour on_conflict,
                                        ZipOperation::StatusClosure status_closure);

} // namespace orv
