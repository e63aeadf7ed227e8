#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The packing of items into a new zip archive. The archive appears once it is complete.
///
/// Statuses: any number of `progress`, the final status. A cancel and an error leave no archive. An
/// item to be replaced stays. The attributes of a replaced item go with it.
class ZipOperation final : public OrvOperation {
public:
    using Status = std::variant<status::progress<GeneralProgress>, status::error, status::success,
                                status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
