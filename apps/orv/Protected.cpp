#include "Commands.hpp"
#include "LargeOutput.hpp"
#include "Listing.hpp"
#include "Terminal.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <string>

namespace orv::app {
namespace {

void tell_of_gone(std::size_t count)
{
    if (count == 1)
        write_message("orv: A protected item is gone, and was left out.\n");
    else if (count > 1)
        write_message("orv: " + std::to_string(count) +
                      " protected items are gone, and were left out.\n");
}

} // namespace

void run(const ProtectedCommand& command, const Surroundings& surroundings)
{
    const SortType sort = command.sort.value_or(SortType::by_name(SortOrder::asc));
    const auto status = final_status<FetchByAttrOperation>(
        [&](auto closure) {
            return OrvFileManager::singleton().fetch_items_by_attribute(
                FetchByAttrOperation::Attribute::is_protected, sort,
                FetchByAttrOperation::IfGone::leave_out, std::move(closure));
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
            tell_of_gone(found.gone.size());
        },
        [](const status::error& failed) { throw failed.error; });
}

} // namespace orv::app
