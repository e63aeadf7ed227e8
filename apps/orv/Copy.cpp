#include "Commands.hpp"
#include "Conflicts.hpp"
#include "Failure.hpp"
#include "Placement.hpp"
#include "ProgressBar.hpp"
#include "TotalSize.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {
namespace {

bool may_share_names(const CopyCommand& command)
{
    return command.on_conflict == ConflictBehaviour::keep_both ||
           command.on_conflict == ConflictBehaviour::merge;
}

/// A copy as the person at the terminal takes part in it.
class Copying {
public:
    Copying(const CopyCommand& command, const Surroundings& surroundings)
        : placement_(placement_of(command.sources, command.destination, may_share_names(command))),
          conflicts_(command.on_conflict, surroundings.can_ask),
          shows_progress_(surroundings.shows_progress),
          bar_(std::make_shared<ProgressBar>(shows_progress_))
    {
    }

    void run()
    {
        const auto start_copy = [&](auto closure) {
            return start([this, closure](const CopyOperation::Status& status) {
                take(status);
                closure(status);
            });
        };
        const auto status = final_status<CopyOperation>(
            start_copy, {.tick = bar_->ticker(), .question = &conflicts_.question()});
        if (const auto* failed = std::get_if<status::error>(&status))
            throw told_of(placement_.sources.front(), failed->error);
        if (std::holds_alternative<status::cancelled>(status))
            conflicts_.throw_cancelled();
        // It began with the copy and has less to do, so this is no wait to speak of.
        if (total_)
            drive_until([this] { return !total_->is_busy(); }, {});
        bar_->finish();
    }

private:
    [[nodiscard]] std::shared_ptr<OrvOperation> start(CopyOperation::StatusClosure closure) const
    {
        auto& manager = OrvFileManager::singleton();
        const auto& [sources, destination] = placement_;
        if (placement_.is_of_one())
            return manager.copy(sources.front(), destination, std::move(closure));
        return manager.copy(sources, destination, std::move(closure));
    }

    void take(const CopyOperation::Status& status)
    {
        match(
            status, [&](const status::progress<CopyProgress>& s) { show_progress(s.record); },
            [&](const status::conflict_occured& s) { conflicts_.settle(s.resolver); },
            [&](const status::preparing&) { start_bar(); }, [](const status::error&) {},
            [](const status::success&) {}, [](const status::cancelled&) {});
    }

    void show_progress(const CopyProgress& progress)
    {
        bar_->set_progress(progress);
        bar_->draw_if_due();
    }

    /// The copy measures its sources but does not tell the bytes, so they are counted here as well.
    void start_bar()
    {
        if (!shows_progress_)
            return;
        bar_->start();
        total_.emplace(placement_.sources,
                       [bar = bar_](std::int64_t bytes) { bar->set_total(bytes); });
    }

    Placement placement_;
    Conflicts conflicts_;
    bool shows_progress_;
    std::shared_ptr<ProgressBar> bar_;
    std::optional<TotalSize> total_;
};

} // namespace

void run(const CopyCommand& command, const Surroundings& surroundings)
{
    Copying(command, surroundings).run();
}

} // namespace orv::app
