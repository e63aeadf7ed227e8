#pragma once

#include "picture/Decoder.hpp"
#include "picture/DecoderProcess.hpp"
#include "picture/HelperWatch.hpp"
#include "picture/MemoryBudget.hpp"

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <stop_token>
#include <vector>

namespace orv::picture {

/// The helpers for one medium, all with one program: started on demand, kept for the next file, and
/// replaced after a death or a kill.
///
/// Threading: any.
class DecoderPool {
public:
    DecoderPool(Url program, Medium medium, std::size_t max_processes, DecodingLimits limits = {},
                MemoryBudget& budget = MemoryBudget::of_all_helpers());
    ~DecoderPool();
    DecoderPool(const DecoderPool&) = delete;
    DecoderPool& operator=(const DecoderPool&) = delete;

    /// Lets a helper make a picture from the open file; waits for a free one, and for the file's
    /// memory.
    ///
    /// Cancel: `stop` ends the waiting at once, with an `Exception`.
    /// Errors: an `Error` with the reason for a missing picture.
    DecodedPicture decode(int file, SizeWanted wanted, const std::stop_token& stop = {});

private:
    /// The right to use one helper.
    class Turn;

    std::unique_ptr<DecoderProcess> living_process();
    Outcome decode_with(DecoderProcess& process, int file, SizeWanted wanted,
                        const std::stop_token& stop);

    const Url program_;
    const Medium medium_;
    const std::size_t max_processes_;
    const DecodingLimits limits_;
    MemoryBudget& budget_;
    std::mutex mutex_;
    std::condition_variable_any turn_ended_;
    std::size_t turns_ = 0;
    std::vector<std::unique_ptr<DecoderProcess>> idle_;
};

} // namespace orv::picture
