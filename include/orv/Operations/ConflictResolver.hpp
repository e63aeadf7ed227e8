#pragma once

#include <orv/utility/Url.hpp>

#include <memory>
#include <optional>
#include <vector>

namespace orv {

/// What to do about an item that stands where another one is to go.
enum class ConflictBehaviour {
    merge,     ///< combine the two folders; what exists stays
    replace,   ///< remove the existing item and put the new one in its place
    keep_both, ///< give the new item a free name
    stop,      ///< end the request
};

/// A request's question what to do about a taken name, and the answer to it.
///
/// The request waits, without a time limit, until `resume()` is called: inside the callback that
/// received the question, or later from any thread. Cancelling the request does not answer it.
class ConflictResolver {
public:
    ConflictResolver(bool is_conflict_mergeable, Url destination_url);
    ~ConflictResolver();
    ConflictResolver(const ConflictResolver&) = delete;
    ConflictResolver& operator=(const ConflictResolver&) = delete;

    /// Answers the question; with `apply_to_all` for the further conflicts of the request, too. The
    /// first answer counts, a later one is ignored.
    ///
    /// Threading: any.
    void resume(ConflictBehaviour with, bool apply_to_all);

    /// Both items are folders, so `merge` is possible.
    [[nodiscard]] bool is_conflict_mergeable() const { return is_conflict_mergeable_; }

    /// The existing item that is in the way.
    [[nodiscard]] const Url& destination_url() const { return destination_url_; }

    /// Further conflicts will follow in this request, so that one answer for all can be offered.
    [[nodiscard]] bool more_conflicts_exist() const { return more_conflicts_exist_; }
    void set_more_conflicts_exist(bool exist) { more_conflicts_exist_ = exist; }

    /// The answer, when there is one.
    ///
    /// Threading: any.
    [[nodiscard]] std::optional<ConflictBehaviour> selected_behaviour() const;
    [[nodiscard]] bool apply_to_all() const;

    /// Waits for the answer. For the request that asks.
    ///
    /// Threading: background.
    ConflictBehaviour wait();

private:
    struct Answer;

    const bool is_conflict_mergeable_;
    const Url destination_url_;
    bool more_conflicts_exist_ = false;
    const std::unique_ptr<Answer> answer_;
};

/// How many of the items at `for_urls` would find their name taken in the folder `inside`.
///
/// Threading: any.
[[nodiscard]] int how_many_conflicts_occur(const std::vector<Url>& for_urls, const Url& inside);

} // namespace orv
