#include "Operations/ThumbGenerateOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/Request.hpp"

#include <orv/ThumbGenerator/OrvThumbnail.hpp>

namespace orv {

std::shared_ptr<ThumbGenerateOpr> generate_thumb(Url url, std::optional<std::uint32_t> resize_width,
                                                 std::optional<std::uint32_t> resize_height,
                                                 ThumbGenerateOpr::StatusClosure status_closure)
{
    return start_request<ThumbGenerateOpr>(
        std::move(status_closure),
        [url = std::move(url), resize_width,
         resize_height](Request<ThumbGenerateOpr>&) -> ThumbGenerateOpr::Status {
            pause_in_test_mode(std::chrono::seconds(1));
            auto [thumb, is_placeholder] =
                OrvThumbnail::singleton().getThumbnail(url, resize_width, resize_height);
            return ThumbGenerateOpr::success{std::move(thumb), is_placeholder};
        });
}

std::shared_ptr<ThumbGenerateOpr> generate_thumbnail(const FileItem& item,
                                                     std::optional<std::uint32_t> resize_width,
                                                     std::optional<std::uint32_t> resize_height,
                                                     ThumbGenerateOpr::StatusClosure status_closure)
{
    return generate_thumb(item.url, resize_width, resize_height, std::move(status_closure));
}

} // namespace orv
