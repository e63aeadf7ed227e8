#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>
#include <orv/picture/Picture.hpp>
#include <orv/utility/Error.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The making of a thumbnail. It locks nothing and never fails: at worst the thumbnail is the
/// placeholder.
///
/// Cancel: a thumbnail not yet begun is not made, and a decoder at work stops at once. The request
/// waits for an application's own generator and drops its result.
class ThumbGenerateOpr final : public OrvOperation {
public:
    struct success {
        Picture thumb = {};
        bool is_placeholder = false; ///< there is no picture of the file
    };

    using Status = std::variant<success, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;

    /// Why the thumbnail is the placeholder, with the path of the file; empty where it is none.
    ///
    /// Threading: the main thread, from the final status on.
    [[nodiscard]] const std::optional<Error>& failure() const { return failure_; }

private:
    friend class ThumbGenerateAccess;

    std::optional<Error> failure_;
};

/// Makes a thumbnail of the item; see `OrvFileManager::generate_thumb`. Returns at once.
///
/// Threading: any.
std::shared_ptr<ThumbGenerateOpr>
generate_thumbnail(const FileItem& item, std::optional<std::uint32_t> resize_width,
                   std::optional<std::uint32_t> resize_height,
                   ThumbGenerateOpr::StatusClosure status_closure);

} // namespace orv

#pragma pop_macro("Status")
