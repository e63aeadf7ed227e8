#pragma once

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/Operations/Progress.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Match.hpp>

#include <memory>

/// The cases several statuses share. Each operation's `Status` is a variant of its cases; visit it
/// with `orv::match`.
///
/// A request delivers any number of `progress`, `preparing` and `conflict_occured`, and then
/// exactly one of the others, its final status; all of them on the main thread.
namespace orv::status {

/// The request is done.
struct success {};

/// The request has failed.
struct error {
    Error error;
};

/// A cancel ended the request.
struct cancelled {};

/// The request measures its work before it starts.
struct preparing {};

template <class Record>
struct progress {
    Record record;
};

/// A name is taken. The request waits for an answer through `resolver`.
struct conflict_occured {
    std::shared_ptr<ConflictResolver> resolver;
};

} // namespace orv::status
