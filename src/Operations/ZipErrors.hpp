#pragma once

#include "archive/Zip.hpp"

#include <orv/utility/Error.hpp>

namespace orv {

/// Calls `work`, a packing or an unpacking. Throws `Exception` for a cancellation, and `failure`
/// with its cause for a failure of its kind.
template <class Work>
void with_zip_errors(Zip::Error::Case its_failure, const Error& failure, Work work)
try {
    work();
} catch (const Zip::Error& error) {
    if (error.kind() == Zip::Error::Case::cancelled)
        throw Exception();
    if (error.kind() == Zip::Error::Case::file_not_found || error.kind() == its_failure)
        throw failure.because_of(error.cause());
    throw error.cause();
}

} // namespace orv
