#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <functional>

namespace orv {

/// What is told of a move to another volume while it is under way, and asked.
struct MoveWatch {
    /// So many more bytes and items were copied. What it throws ends the move. It is not called
    /// any more once the copy has its name.
    FunctionRef<void(std::int64_t bytes, std::int64_t items)> progress;
    /// An item at any depth, the source itself excepted, cannot be moved: asks what to do about it.
    enum class Choice { fail, leave_out, retry };
    FunctionRef<Choice(const Url& item, const Error& error)> on_failure;
    /// True if something below the folder was left out, so that it stays where it is, too.
    FunctionRef<bool(const Url& folder)> holds_left_out;
    /// Does work that nothing can interrupt, such as a flush. It owns all that it needs, so that
    /// whoever waits may give up. What that throws ends the move.
    FunctionRef<void(std::function<void()> work)> do_long;
    /// Items may be left out at all.
    bool leaves_out = false;
    /// The copy is read back from its medium and compared before anything goes.
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
