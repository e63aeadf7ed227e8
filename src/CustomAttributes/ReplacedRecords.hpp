#pragma once

#include "CustomAttributes/RecordKey.hpp"
#include "utility/FileDescriptor.hpp"

#include <chrono>
#include <string>
#include <utility>

namespace orv {

/// The records of an item that a move is about to replace. They are kept in a table of their own
/// until it is known which of the two items has the place. If a kill or a power cut comes before
/// that, the next start gives them back to the old item, should that still be there.
///
/// Threading: any; the calls are part of the caller's turn of the database.
/// Errors: those of the database, and the platform's in the processed-files folder.
class ReplacedRecords {
public:
    explicit ReplacedRecords(RecordKey place) : place_(std::move(place)) {}
    ~ReplacedRecords();
    ReplacedRecords(const ReplacedRecords&) = delete;
    ReplacedRecords& operator=(const ReplacedRecords&) = delete;

    /// Keeps what is stored for the place and below it now.
    void keep();

    /// Forgets it: the item that has the place has its records.
    void forget();

private:
    RecordKey place_;
    std::string owner_;   // the name of the file; empty until something is kept
    FileDescriptor file_; // holds the lock that says that this process lives
};

/// Settles what dead processes kept, in the background, since the volume of such an item may not
/// answer for hours. An item that is not there may come back, so its records stay kept.
///
/// Threading: any. Waits until all is settled, but not longer than `longest_wait`.
void restore_replaced_records(std::chrono::milliseconds longest_wait = std::chrono::seconds(1));

} // namespace orv
