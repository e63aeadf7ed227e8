#pragma once

#include <orv/utility/Url.hpp>

#include <memory>
#include <optional>
#include <vector>

namespace orv {

/// How to handle an item in the place of a new one.
enum class ConflictBehaviour {
    merge,     ///< combine the two folders; existing items stay
    replace,   ///< remove the existing item and put the new one in its place
    keep_both, ///< give the new item a free name
    stop,      ///< end the request
};

/// A request's question about a taken name, and the answer.
///
/// The request waits, without a time limit, for a call of `resume()`: inside the callback with the
/// question, or later from any thread. A cancel of the request does not answer it.
class ConflictResolver {
public:
    ConflictResolver(bool is_conflict_mergeable, Url destination_url);
    ~ConflictResolver();
    ConflictResolver(const ConflictResolver&) = delete;
    ConflictResolver& operator=(const ConflictResolver&) = delete;

    /// Answers the question, with `apply_to_all` also the further conflicts of the request. The
    /// first answer counts; later ones do nothing.
    ///
    /// Threading: any.
    void resume(ConflictBehaviour with, bool apply_to_all);

    /// Both items are folders, so `merge` is possible.
    [[nodiscard]] bool is_conflict_mergeable() const { return is_conflict_mergeable_; }

    /// The existing item in the way.
    [[nodiscard]] const Url& destination_url() const { return destination_url_; }

    /// True if more conflicts may follow in this request, and one answer for all makes sense.
    [[nodiscard]] bool more_conflicts_exist() const { return more_conflicts_exist_; }
    void set_more_conflicts_exist(bool exist) { more_conflicts_exist_ = exist; }

    /// The answer, when there is one.
    ///
    /// Threading: any.
    [[nodiscard]] std::optional<ConflictBehaviour> selected_behaviour() const;
    [[nodiscard]] bool apply_to_all() const;

    /// Waits for the answer. Called by the request.
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
