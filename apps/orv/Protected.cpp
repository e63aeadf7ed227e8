#include "Commands.hpp"
#include "LargeOutput.hpp"
#include "Listing.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {

void run(const ProtectedCommand& command, const Surroundings& surroundings)
{
    const SortType sort = command.sort.value_or(SortType::by_name(SortOrder::asc));
    const auto status = final_status<FetchByAttrOperation>(
        [&](auto closure) {
            return OrvFileManager::singleton().fetch_items_by_attribute(
                FetchByAttrOperation::Attribute::is_protected, sort, std::move(closure));
        },
        show_activity("Listing", surroundings.shows_progress));
    match(
        status,
        [&](const FetchByAttrOperation::success& found) {
            LargeOutput output;
            ItemStream stream(output,
                              command.json ? ItemStream::Form::json : ItemStream::Form::paths);
            stream.write(found.content);
            stream.finish();
        },
        [](const status::error& failed) { throw failed.error; });
}

} // namespace orv::app
