#pragma once

#include "Operations/transfer/CopiedFiles.hpp"
#include "files/VolumeTraits.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/Operations/TransferOpr.hpp>
#include <orv/utility/Url.hpp>

#include <optional>

namespace orv {

struct TransferRun;

/// The end of a transfer: what was copied is written to its medium and verified, as the policy
/// says.
///
/// Threading: one background thread.
class TransferFinish {
public:
    /// Opens the destination, so that all that cannot be written from now on is noticed.
    ///
    /// Errors: the platform's.
    TransferFinish(const TransferPolicy& policy, const Url& folder);

    /// What the destination's volume is.
    [[nodiscard]] const VolumeTraits& traits() const { return traits_; }

    /// Where copied files are to be noted, if they are looked at in the end.
    [[nodiscard]] CopiedFiles* copied() { return copied_ ? &*copied_ : nullptr; }

    /// Tells that the transfer is finishing, and does it. What differs from its original, or cannot
    /// be read back, is a failure of that item.
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
    bool flushes_each_; ///< since the volume does not report all that it fails to write
    std::optional<CopiedFiles> copied_;
};

} // namespace orv
