#include "Commands.hpp"
#include "DryRun.hpp"
#include "Failure.hpp"
#include "Interrupt.hpp"
#include "LargeOutput.hpp"
#include "Placement.hpp"
#include "ProgressBar.hpp"
#include "SelfNames.hpp"
#include "Text.hpp"
#include "TransferAnswers.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <algorithm>

#include <fmt/format.h>

namespace orv::app {
namespace {

using Kind = TransferPlan::Kind;
using OnConflict = TransferPolicy::OnConflict;
using OnError = TransferPolicy::OnError;
using Outcome = TransferReport::Outcome;

/// The answer to failed items without anybody to ask. A copy goes on; a move does not tear a folder
/// apart.
OnError answer_of_nobody(const TransferCommand& command)
{
    const bool goes_on = command.kind == Kind::copy && !command.asks_about_errors;
    return goes_on ? OnError::skip : OnError::stop;
}

TransferPlan plan_of(const TransferCommand& command, bool can_ask)
{
    if (command.kind == Kind::move)
        for (const std::string& path : command.sources)
            refuse_self_name(path, "moved");
    TransferPlan plan{.kind = command.kind, .policy = command.policy};
    const bool keeps_both = command.policy.on_conflict == OnConflict::keep_both;
    const bool merges = command.policy.on_conflict == OnConflict::merge;
    Placement placement = placement_of(command.sources, command.destination,
                                       keeps_both || (merges && command.kind == Kind::copy));
    if (command.kind == Kind::move && placement.is_of_one() &&
        is_other_case(placement.sources.front(), command.destination))
        placement.destination = command.destination;
    plan.sources = placement.sources;
    plan.folder = placement.destination;
    if (placement.is_of_one()) {
        if (placement.destination.empty())
            throw Error("Destination url points to an undefined path.")
                .at(placement.sources.front());
        const Url target = placement.destination.standardized();
        plan.folder = target.deleting_last_path_component();
        plan.name = target.last_path_component();
    }
    if (!can_ask && plan.policy.on_conflict == OnConflict::ask)
        plan.policy.on_conflict = OnConflict::stop;
    if (!can_ask && plan.policy.on_error == OnError::ask)
        plan.policy.on_error = answer_of_nobody(command);
    return plan;
}

std::string activity_of(const TransferPlan& plan)
{
    const std::string verb = plan.kind == Kind::copy ? "Copying " : "Moving ";
    if (plan.sources.size() == 1)
        return verb + plan.sources.front().last_path_component();
    return verb + fmt::format("{} items", plan.sources.size());
}

/// A transfer as the person at the terminal takes part in it.
class Transferring {
public:
    Transferring(TransferPlan plan, const Surroundings& surroundings)
        : plan_(std::move(plan)), answers_(plan_.sources.size() > 1 || has_folder(plan_)),
          bar_(surroundings.shows_progress),
          activity_(show_activity(activity_of(plan_), surroundings.shows_progress))
    {
    }

    TransferOperation::Status run()
    {
        const auto start = [&](auto closure) {
            return OrvFileManager::singleton().transfer(
                plan_, [this, closure](const TransferOperation::Status& status) {
                    take(status);
                    if (!std::holds_alternative<TransferOperation::question>(status))
                        closure(status);
                });
        };
        const auto tick = [this] { draw(); };
        auto status = final_status<TransferOperation>(
            start, {.tick = bar_.ticker() ? std::function<void()>(tick) : nullptr,
                    .question = &answers_.question()});
        if (has_bytes_ && std::holds_alternative<TransferOperation::success>(status))
            bar_.finish();
        return status;
    }

private:
    static bool has_folder(const TransferPlan& plan)
    {
        return std::ranges::any_of(plan.sources, [](const Url& source) {
            return OrvFileManager::singleton().is_directory(source);
        });
    }

    void take(const TransferOperation::Status& status)
    {
        match(
            status, [&](const status::progress<TransferProgress>& s) { show_progress(s.record); },
            [&](const TransferOperation::question& s) { answers_.ask(s.question); },
            [&](const status::preparing&) { bar_.start(); },
            [](const TransferOperation::finishing&) {}, [](const TransferOperation::success&) {},
            [](const TransferOperation::error&) {}, [](const TransferOperation::cancelled&) {});
    }

    void show_progress(const TransferProgress& progress)
    {
        has_bytes_ = progress.bytes_total > 0;
        if (!has_bytes_)
            return;
        bar_.set_total(progress.bytes_total);
        bar_.set_progress({progress.item.last_path_component(), false, progress.value});
        draw();
    }

    /// Within a volume a move has no bytes to tell.
    void draw()
    {
        if (has_bytes_)
            bar_.draw_if_due();
        else if (activity_.tick)
            activity_.tick();
    }

    TransferPlan plan_;
    TransferAnswers answers_;
    ProgressBar bar_;
    Meanwhile activity_;
    bool has_bytes_ = false;
};

/// The finished part of a transfer that ended early.
Error done_by_then(const TransferPlan& plan, const TransferReport& report)
{
    const std::string done = plan.kind == Kind::copy ? "copied" : "moved";
    const auto count = [&](Outcome outcome) {
        return std::ranges::count(report.sources, outcome, &TransferReport::Source::outcome);
    };
    if (count(Outcome::done) == 1 && report.sources.size() == 1)
        return Error("The item was " + done + " before the interrupt took effect.")
            .at(plan.sources.front());
    if (count(Outcome::done) == 0 && count(Outcome::partly_done) > 0)
        return Error("A part was " + done + " before the interrupt took effect.").at(plan.folder);
    return Error(fmt::format("{} of {} items were {} before the interrupt took effect.",
                             count(Outcome::done), report.sources.size(), done))
        .at(plan.folder);
}

[[noreturn]] void throw_cancelled(const TransferPlan& plan, const TransferReport& report)
{
    const bool did_something = std::ranges::any_of(report.sources, [](const auto& source) {
        return source.outcome == Outcome::done || source.outcome == Outcome::partly_done;
    });
    if (was_interrupted() && !did_something)
        throw Interrupted();
    if (was_interrupted())
        throw done_by_then(plan, report);
    throw Failed{}; // a person has stopped it, who knows
}

/// Reports the left-out items; true if there are any.
bool tell_left_out(const TransferPlan& plan, const TransferReport& report)
{
    bool any = false;
    for (const TransferReport::LeftOut& item : report.left_out) {
        const Error skipped("It was left out, since its name is taken.");
        print_failure(told_of(item.item, item.error.value_or(skipped)));
        any = true;
    }
    if (plan.policy.on_conflict != OnConflict::merge)
        return any;
    for (const TransferReport::Source& source : report.sources)
        if (source.outcome == Outcome::unchanged && source.destination) {
            print_failure(Error("Only a folder can be merged, and only into another folder.")
                              .at(*source.destination));
            any = true;
        }
    return any;
}

void tell_done(const TransferReport& report)
{
    LargeOutput output;
    for (const TransferReport::Source& source : report.sources)
        if (source.destination)
            output.write(printable(source.source.path()) + " -> " +
                         printable(source.destination->path()) + "\n");
    output.finish();
}

} // namespace

void run(const TransferCommand& command, const Surroundings& surroundings)
{
    const TransferPlan plan = plan_of(command, surroundings.can_ask);
    if (command.is_dry_run)
        return show_dry_run(plan);
    const auto status = Transferring(plan, surroundings).run();
    const auto end = [&](const TransferReport& report) {
        if (command.is_verbose)
            tell_done(report);
        return tell_left_out(plan, report);
    };
    match(
        status,
        [&](const TransferOperation::success& s) {
            if (end(s.report))
                throw Failed{};
        },
        [&](const TransferOperation::error& s) {
            end(s.report);
            throw told_of(plan.sources.front(), s.error);
        },
        [&](const TransferOperation::cancelled& s) {
            end(s.report);
            throw_cancelled(plan, s.report);
        },
        [](const TransferOperation::question&) {}, [](const TransferOperation::finishing&) {},
        [](const status::preparing&) {}, [](const status::progress<TransferProgress>&) {});
}

} // namespace orv::app
