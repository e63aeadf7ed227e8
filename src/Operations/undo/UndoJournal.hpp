#pragma once

#include "Operations/undo/UndoStep.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// A request in the journal.
struct UndoLine {
    /// The numbers are stored.
    enum class State : std::int64_t {
        fresh = 0,
        refused =
            1,     ///< an undo refused it once; if it does so again, it goes on to the line before
        begun = 2, ///< an undo has begun; some of its items may be back already
    };

    std::int64_t number;
    State state;
    std::vector<UndoStep> steps; ///< in the order in which they happened

    [[nodiscard]] std::string text() const;
};

/// A line without most of its steps, for a list.
struct UndoSummary {
    std::int64_t number;
    UndoLine::State state;
    std::string text;
    std::int64_t noted; ///< in nanoseconds of the system's clock
};

/// The journal of the requests that can be taken back: a table of its own beside the one of
/// attributes, with the last 200 requests of all processes.
///
/// A request gets its line after its work. Without one, because of a kill in between, the
/// identities in the earlier lines tell that something has changed.
///
/// Threading: any; each function is a turn of the database.
/// Errors, of all but `add`: those of the database.
class UndoJournal {
public:
    static constexpr std::int64_t longest = 200;

    /// Adds a line and returns its number, or 0 without one. A failure is no failure of the
    /// request.
    static std::int64_t add(const std::vector<UndoStep>& steps) noexcept;

    /// The newest line older than `number`; no value if there is none.
    [[nodiscard]] static std::optional<UndoLine> last_before(std::int64_t number);

    /// All lines, the newest first.
    [[nodiscard]] static std::vector<UndoSummary> summaries();

    static void set_state(std::int64_t number, UndoLine::State state);

    static void remove(std::int64_t number);

    /// The same for the line of a request that took its work back. A failure leaves a line that an
    /// undo refuses, because its items are gone.
    static void forget(std::int64_t number) noexcept;
};

} // namespace orv
