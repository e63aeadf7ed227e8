#include "Commands.hpp"
#include "Failure.hpp"
#include "HumanText.hpp"
#include "Interrupt.hpp"
#include "LargeOutput.hpp"
#include "Text.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {
namespace {

void list()
{
    LargeOutput output;
    for (const UndoableRequest& request : OrvFileManager::singleton().undoable_requests()) {
        const std::string refused = request.was_refused ? " (refused before)" : "";
        output.write(local_date(request.date) + "  " + printable(request.sentence) + refused +
                     "\n");
    }
    output.finish();
}

} // namespace

void run(const UndoCommand& command, const Surroundings& surroundings)
{
    if (command.lists)
        return list();
    const auto status = final_status<UndoOperation>(
        [](auto closure) { return OrvFileManager::singleton().undo_last(std::move(closure)); },
        show_activity("Undoing", surroundings.shows_progress));
    match(
        status,
        [](const UndoOperation::success& undone) {
            LargeOutput output;
            output.write("Undone: " + printable(undone.done) + "\n");
            output.finish();
        },
        [](const status::error& failed) { throw failed.error; },
        [](const status::cancelled&) { throw Interrupted(); });
}

} // namespace orv::app
