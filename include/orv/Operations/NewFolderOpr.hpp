#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The creation of a folder. It cannot be cancelled.
class NewFolderOperation final : public OrvOperation {
public:
    /// Something, a file or a folder, already exists there.
    struct item_already_exists {};
    /// Every other failure.
    struct other {
        Error error;
    };
    using CustomError = std::variant<other, item_already_exists>;

    struct error {
        CustomError error;
    };

    using Status = std::variant<error, status::success>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
