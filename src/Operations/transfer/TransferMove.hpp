#pragma once

#include "Operations/transfer/TransferRun.hpp"
#include "Tool/MoveWatch.hpp"
#include "files/FreeName.hpp"
#include "files/NoReplaceRename.hpp"

#include <string>

namespace orv {

/// Moves the sources of a transfer into its folder, with the attribute rows of everything in them.
/// Within a volume it renames an item. A merge of two folders moves their contents, and the
/// source's folder goes once it is empty.
///
/// Threading: one background thread.
/// Cancel: between items, and during a copy to another volume.
/// Errors: `TransferEnd`, if the policy is to stop; those of the database.
class TransferMove {
public:
    explicit TransferMove(TransferRun& run) : run_(run) {}

    void move(const TransferSource& source);

private:
    using Outcome = TransferReport::Outcome;
    using Way = TakenChoice::Way;

    /// A move from one location to another, both with resolved folders.
    struct Item {
        std::size_t source; ///< the source it is, or lies in
        Url from;
        Url to;
        FreeNames& free_names; ///< of the parent folder of `to`
    };

    Outcome move(Item& item);
    Outcome attempt(Item& item);
    Outcome attempt_taken(Item& item, const TakenName& taken);
    Outcome place(const Item& item, bool replaces);
    Outcome merge(const Item& item);
    void note_for_undo(const Url& from, const Url& to);
    MoveWatch::Choice settle_inside(const Item& item, const Url& url, const Error& error);

    TransferRun& run_;
    NoReplaceRename rename_;
    FreeNames free_names_{FreeNames::Numbers::in_brackets}; // in the destination folder
};

} // namespace orv
