#include "Operations/TakenName.hpp"

#include "Tool/Tool.hpp"
#include "utility/FileNames.hpp"

namespace orv {

Url free_url(const Url& taken, const Error& none_is_free)
{
    auto url = generate_non_conflicting_file_url(taken, {});
    if (!url)
        throw none_is_free.at(taken);
    return *url;
}

void remove_replaced(const Url& destination, const Error& failure)
{
    try {
        Tool::remove_item(destination);
    } catch (const Error& cause) {
        throw failure.because_of(cause);
    }
}

} // namespace orv
