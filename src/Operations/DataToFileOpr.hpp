#pragma once

#include <orv/Operations/DataToFileOpr.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <memory>
#include <vector>

namespace orv {

/// Starts the writing of `data` to a new file at `url`.
std::shared_ptr<DataToFileOpr> data_to_file(std::vector<std::byte> data, Url url,
                                            DataToFileOpr::StatusClosure status_closure);

} // namespace orv
