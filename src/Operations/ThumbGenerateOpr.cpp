#include "Operations/ThumbGenerateOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/frame/Request.hpp"
#include "ThumbGenerator/ThumbnailAccess.hpp"

#include <stop_token>

namespace orv {

class ThumbGenerateAccess {
public:
    static void set_failure(ThumbGenerateOpr& operation, std::optional<Error> failure)
    {
        operation.failure_ = std::move(failure);
    }
};

std::shared_ptr<ThumbGenerateOpr> generate_thumb(Url url, std::optional<std::uint32_t> resize_width,
                                                 std::optional<std::uint32_t> resize_height,
                                                 ThumbGenerateOpr::StatusClosure status_closure)
{
    return start_request<ThumbGenerateOpr>(
        std::move(status_closure),
        [url = std::move(url), resize_width,
         resize_height](Request<ThumbGenerateOpr>& request) -> ThumbGenerateOpr::Status {
            pause_in_test_mode(std::chrono::seconds(1));
            std::stop_source stop;
            MadeThumbnail made;
            request.do_part([stop]() mutable { stop.request_stop(); },
                            [&] {
                                made = ThumbnailAccess::make(url, {resize_width, resize_height},
                                                             Formats::registered, {},
                                                             stop.get_token());
                            });
            request.tally().expect(-1, 1);
            request.tally().add_items(1);
            if (made.failure)
                request.tally().add_failure({url, *made.failure});
            const bool is_placeholder = made.failure.has_value();
            ThumbGenerateAccess::set_failure(request.operation(), std::move(made.failure));
            return ThumbGenerateOpr::success{std::move(made.thumb), is_placeholder};
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
