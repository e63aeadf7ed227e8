#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The answers that a transfer has before it asks.
struct TransferPolicy {
    /// What to do about an item whose name is taken at the destination.
    enum class OnConflict {
        ask,
        merge,            ///< two folders become one; what else stands there stays
        skip,             ///< leave the item out
        replace,          ///< put it in the place of what stands there
        replace_if_older, ///< replace a file that is older, merge two folders, leave the rest
        skip_if_equal,    ///< leave a file of equal size and date, replace others, merge folders
        keep_both,        ///< give the new item a name like "name (2).ext"
        stop,             ///< end the transfer with an error
    };
    /// What to do about an item that cannot be copied or moved.
    enum class OnError { ask, skip, stop };
    /// A symbolic link is transferred as a link, or what it leads to is copied in its place.
    enum class Links { as_links, follow };
    /// When the new items are on the medium before the transfer is done. Automatic means on
    /// removable and network volumes, and whatever is moved to another volume.
    enum class Flush { automatic, always, never };
    /// What to do when another request holds one of the items.
    enum class WhenLocked {
        fail, ///< end with an error
        wait, ///< take turns with other requests, in order of arrival
    };

    OnConflict on_conflict = OnConflict::ask;
    /// Two folders of one name are merged, whatever `on_conflict` says. It decides about what is
    /// in them.
    bool merges_folders = false;
    OnError on_error = OnError::ask;
    Links links = Links::as_links;
    /// Read every copied file back from the medium and compare it with its original.
    bool verify = false;
    Flush flush = Flush::automatic;
    WhenLocked when_locked = WhenLocked::fail;
};

/// What to transfer, and where to.
struct TransferPlan {
    enum class Kind { copy, move };

    Kind kind = Kind::copy;
    /// Links among the folders on the way are followed; a link itself is an item.
    std::vector<Url> sources = {};
    /// The existing folder that gets them.
    Url folder = {};
    /// The new name of a single source; without it each keeps its own.
    std::optional<std::string> name = {};
    TransferPolicy policy = {};
};

/// What became of a transfer.
struct TransferReport {
    enum class Outcome {
        not_reached, ///< the transfer ended before it came to the item
        done,
        partly_done, ///< a folder without something in it that was left out or not reached
        unchanged,   ///< the item is at the destination already, or what stands there was to stay
        skipped,
        failed,
    };

    /// One of the sources, in the order of the plan.
    struct Source {
        Url source;
        Outcome outcome = Outcome::not_reached;
        /// Where it is now, under the name that it got; none where nothing of it is there.
        std::optional<Url> destination = {};
    };

    /// An item at any depth that was left out.
    struct LeftOut {
        Url item;
        /// Why it failed; none for one that was skipped because its name is taken.
        std::optional<Error> error = {};
    };

    std::vector<Source> sources = {};
    std::vector<LeftOut> left_out = {};
};

/// How far a transfer has come.
struct TransferProgress {
    Url item = {};                ///< the one being worked on
    std::int64_t bytes_done = 0;  ///< of those that have to be copied
    std::int64_t bytes_total = 0; ///< 0 where nothing has to be
    std::int64_t items_done = 0;
    std::int64_t items_total = 0;
    float value = 0; ///< of the whole transfer, 0 to 1
};

/// Something that can stand in the way of a transfer, found before the first byte is copied.
struct TransferProblem {
    Url item; ///< the source, or the destination where there is no room
    Error error;
};

/// A question of a transfer. The transfer waits, without a time limit, until it is answered: inside
/// the callback that received it, or later from any thread. One that is dropped without an answer,
/// or whose request is cancelled, is answered with stop.
///
/// Threading: any.
class TransferQuestion {
public:
    enum class About {
        taken_name,  ///< `source()` is to go where `destination()` stands
        failed_item, ///< `error()` says why `source()` cannot be transferred
        problems,    ///< `problems()` will be in the way of the transfer
    };
    enum class Answer {
        merge,     ///< two folders become one
        replace,   ///< put the source in the place of what stands there, once it is complete
        keep_both, ///< give the source a free name like "name (2).ext"
        skip,      ///< leave the item out; of problems: the items that have them
        retry,     ///< try the item again; of problems: go on all the same
        stop,      ///< cancel the transfer
    };
    class Slot;

    TransferQuestion(About about, std::shared_ptr<Slot> slot);
    ~TransferQuestion();
    TransferQuestion(const TransferQuestion&) = delete;
    TransferQuestion& operator=(const TransferQuestion&) = delete;

    [[nodiscard]] About about() const { return about_; }

    /// The item that is to be transferred, and the one that stands in its place. Of an item that
    /// cannot be looked at only the URL is known.
    [[nodiscard]] const FileItem& source() const { return source_; }
    [[nodiscard]] const std::optional<FileItem>& destination() const { return destination_; }

    [[nodiscard]] const std::optional<Error>& error() const { return error_; }
    [[nodiscard]] const std::vector<TransferProblem>& problems() const { return problems_; }

    /// True if the question takes this answer.
    [[nodiscard]] bool allows(Answer answer) const;

    /// Answers the question; with `for_all` also further ones of the kind: about two folders, about
    /// two files, about a file and a folder, or about failed items. The first answer counts.
    ///
    /// Errors: "The question doesn't take this answer."
    void answer(Answer answer, bool for_all = false);

    /// Gives the source another name. If that is taken, too, the transfer asks again.
    ///
    /// Errors: that it is no name for an item; then the question is still open.
    void answer_with_name(std::string name);

private:
    friend class TransferQuestions;

    About about_;
    FileItem source_;
    std::optional<FileItem> destination_;
    std::optional<Error> error_;
    std::vector<TransferProblem> problems_;
    std::shared_ptr<Slot> slot_;
};

/// The copy or the move of any number of items into a folder: what a paste and a drop do.
///
/// Statuses: `preparing`; any number of `question`, `progress` and at most one `finishing`; the
/// final status with the report. What is complete stays. Nothing is replaced before its successor
/// is complete, and a source goes only after its own copy is in place: so a cancel, a failure or a
/// kill leaves every item whole under its old name, its new one, or both.
class TransferOperation final : public OrvOperation {
public:
    struct question {
        std::shared_ptr<TransferQuestion> question;
    };
    /// What was transferred is being written to the medium and verified.
    struct finishing {};
    struct success {
        TransferReport report = {};
    };
    struct error {
        Error error;
        TransferReport report = {};
    };
    struct cancelled {
        TransferReport report = {};
    };

    using Status = std::variant<status::preparing, question, status::progress<TransferProgress>,
                                finishing, success, error, cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
