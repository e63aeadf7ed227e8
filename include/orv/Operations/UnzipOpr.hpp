#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The unpacking of a zip archive into a new folder of its own.
///
/// Statuses: any number of `progress`, the final status. A cancel and an error leave nothing of the
/// new folder.
class UnzipOperation final : public OrvOperation {
public:
    using Status = std::variant<status::progress<GeneralProgress>, status::error, status::success,
                                status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
