#pragma once

#include "Operations/transfer/CopiedFiles.hpp"
#include "files/VolumeTraits.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/Operations/TransferOpr.hpp>
#include <orv/utility/Url.hpp>

#include <optional>

namespace orv {

struct TransferRun;

/// The end of a transfer: flushes and verifies the copies, as the policy says.
///
/// Threading: one background thread.
class TransferFinish {
public:
    /// Opens the destination, to notice every lost write from now on.
    ///
    /// Errors: the platform's.
    TransferFinish(const TransferPolicy& policy, const Url& folder);

    /// The destination's volume.
    [[nodiscard]] const VolumeTraits& traits() const { return traits_; }

    /// The record for copied files, if they are checked in the end.
    [[nodiscard]] CopiedFiles* copied() { return copied_ ? &*copied_ : nullptr; }

    /// Reports the status `finishing`, and finishes. A copy that differs from its original, or is
    /// unreadable, is a failure of that item.
    ///
    /// Cancel: at any moment; then nothing of this is certain.
    /// Errors: the platform's, if the volume fails to write.
    void finish(TransferRun& run);

private:
    Url folder_;
    FileDescriptor opened_;
    VolumeTraits traits_;
    bool flushes_;
    bool verifies_;
    /// The volume does not report every lost write. The automatic policy spares it two calls a file
    /// all the same: what the kernel could not hand over is reported for the volume, too.
    bool flushes_each_;
    std::optional<CopiedFiles> copied_;
};

} // namespace orv
