#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The writing of data to a new file. The file appears once it is complete.
///
/// Statuses: at most one `conflict_occured`, `progress` at the start and then about once a second,
/// the final status. A cancel and an error leave no new file. A file to be replaced stays, unless
/// its volume had no room for both. A file with new content keeps its attributes.
class DataToFileOpr final : public OrvOperation {
public:
    using Status = std::variant<status::progress<GeneralProgress>, status::conflict_occured,
                                status::error, status::success, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
