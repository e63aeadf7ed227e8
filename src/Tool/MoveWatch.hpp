#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <functional>

namespace orv {

/// The observer of a move to another volume.
struct MoveWatch {
    /// Counts further copied bytes and items. An exception from it ends the move. The calls stop
    /// once the copy has its name.
    FunctionRef<void(std::int64_t bytes, std::int64_t items)> progress;
    /// An item at any depth, except the source itself, cannot be moved: asks for a decision.
    enum class Choice { fail, leave_out, retry };
    FunctionRef<Choice(const Url& item, const Error& error)> on_failure;
    /// True if an item below the folder was left out, so the folder stays, too.
    FunctionRef<bool(const Url& folder)> holds_left_out;
    /// Does uninterruptible work, such as a flush. The work owns all it needs, so a waiting thread
    /// may give up. An exception from the wait ends the move.
    FunctionRef<void(std::function<void()> work)> do_long;
    /// True if items may be left out at all.
    bool leaves_out = false;
    /// True to read the copy back from its medium and compare it before the source goes.
    bool verifies = false;
};

inline constexpr auto no_progress = [](std::int64_t, std::int64_t) {};
inline constexpr auto fail_at_once = [](const Url&, const Error&) {
    return MoveWatch::Choice::fail;
};
inline constexpr auto nothing_left_out = [](const Url&) { return false; };
inline constexpr auto do_now = [](const std::function<void()>& work) { work(); };

/// For those who only wait.
[[nodiscard]] inline MoveWatch unwatched()
{
    return {no_progress, fail_at_once, nothing_left_out, do_now};
}

} // namespace orv
