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

/// The answers of a transfer before it asks.
struct TransferPolicy {
    /// How to handle an item with a taken name at the destination.
    enum class OnConflict {
        ask,
        merge,            ///< two folders become one; other items there stay
        skip,             ///< leave the item out
        replace,          ///< replace the item there
        replace_if_older, ///< replace an older file, merge two folders, leave the rest
        skip_if_equal,    ///< leave a file of equal size and date, replace others, merge folders
        keep_both,        ///< give the new item a name like "name (2).ext"
        stop,             ///< end the transfer with an error
    };
    /// How to handle an item that cannot be copied or moved. If its volume is gone, skipping ends
    /// the transfer.
    enum class OnError { ask, skip, stop };
    /// Transfer a symbolic link as a link, or copy its target in its place.
    enum class Links { as_links, follow };
    /// Flush the new items to the medium before the end. Automatic: on removable and network
    /// volumes, and for every move to another volume.
    enum class Flush { automatic, always, never };
    /// How to handle an item another request has locked.
    enum class WhenLocked {
        fail, ///< end with an error
        wait, ///< take turns with other requests, in order of arrival
    };

    OnConflict on_conflict = OnConflict::ask;
    /// Merge two folders of one name, whatever `on_conflict` says. It decides on their contents.
    bool merges_folders = false;
    OnError on_error = OnError::ask;
    Links links = Links::as_links;
    /// Read every copied file back from the medium and compare it with its original.
    bool verify = false;
    Flush flush = Flush::automatic;
    WhenLocked when_locked = WhenLocked::fail;
};

/// The items to transfer, and their destination.
struct TransferPlan {
    enum class Kind { copy, move };

    Kind kind = Kind::copy;
    /// Follows links among the folders on the way; a link itself is an item.
    std::vector<Url> sources = {};
    /// The existing folder for them.
    Url folder = {};
    /// The new name of a single source; without it each keeps its own.
    std::optional<std::string> name = {};
    TransferPolicy policy = {};
};

/// The outcome of a transfer.
struct TransferReport {
    enum class Outcome {
        not_reached, ///< the transfer ended before it came to the item
        done,
        partly_done, ///< a folder with something in it left out or not reached
        unchanged,   ///< the item is at the destination already, or the item there was to stay
        skipped,
        failed,
    };

    /// One of the sources, in the order of the plan.
    struct Source {
        Url source;
        Outcome outcome = Outcome::not_reached;
        /// Its present place, under its new name; none if nothing of it is there.
        std::optional<Url> destination = {};
    };

    /// A left-out item, at any depth.
    struct LeftOut {
        Url item;
        /// The reason; none for an item skipped over a taken name.
        std::optional<Error> error = {};
    };

    std::vector<Source> sources = {};
    std::vector<LeftOut> left_out = {};
};

/// How far a transfer has come.
struct TransferProgress {
    Url item = {};                ///< the current item
    std::int64_t bytes_done = 0;  ///< of the items to copy
    std::int64_t bytes_total = 0; ///< 0 where nothing has to be
    std::int64_t items_done = 0;
    std::int64_t items_total = 0;
    float value = 0; ///< of the whole transfer, 0 to 1
};

/// A problem of a transfer, found before the first byte.
struct TransferProblem {
    Url item; ///< the source, or the destination where there is no room
    Error error;
};

/// A question of a transfer. The transfer waits, without a time limit, for an answer: inside the
/// callback with the question, or later from any thread. A dropped question, and one of a cancelled
/// request, counts as stop.
///
/// Threading: any.
class TransferQuestion {
public:
    enum class About {
        taken_name,  ///< `source()` is to go where `destination()` stands
        failed_item, ///< `source()` cannot be transferred, for the reason `error()`
        problems,    ///< `problems()` will be in the way of the transfer
    };
    enum class Answer {
        merge,     ///< two folders become one
        replace,   ///< put the source in the place of the item there, once it is complete
        keep_both, ///< give the source a free name like "name (2).ext"
        skip,      ///< leave the item out; for problems: their items
        retry,     ///< try the item again; of problems: go on all the same
        stop,      ///< cancel the transfer
    };
    class Slot;

    TransferQuestion(About about, std::shared_ptr<Slot> slot);
    ~TransferQuestion();
    TransferQuestion(const TransferQuestion&) = delete;
    TransferQuestion& operator=(const TransferQuestion&) = delete;

    [[nodiscard]] About about() const { return about_; }

    /// The item to transfer, and the one in its place. Of an item out of reach only the URL is
    /// known.
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
    /// Errors: an error if it cannot be an item's name; the question then stays open.
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

/// The copy or the move of any number of items into a folder: the request behind a paste and a
/// drop.
///
/// Statuses: `preparing`; any number of `question`, `progress` and at most one `finishing`; the
/// final status with the report. Complete items stay. Nothing is replaced before its successor is
/// complete, and a source goes only after its own copy is in place: a cancel, a failure or a kill
/// leaves every item whole under its old name, its new one, or both.
class TransferOperation final : public OrvOperation {
public:
    struct question {
        std::shared_ptr<TransferQuestion> question;
    };
    /// The transfer flushes and verifies the new items.
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
