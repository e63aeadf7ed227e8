#include "picture/DecoderPool.hpp"

#include <orv/utility/Error.hpp>

namespace orv::picture {
namespace {

/// Enough for most files. The need of a page or a drawing shows only at work, so it gets much at
/// once.
std::uint64_t usual_memory(Medium medium)
{
    constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
    switch (medium) {
    case Medium::image:
        return 64 * mebibyte;
    case Medium::pdf_page:
    case Medium::drawing:
        return 512 * mebibyte;
    case Medium::film_frame:
        break;
    }
    return 128 * mebibyte;
}

} // namespace

class DecoderPool::Turn {
public:
    Turn(DecoderPool& pool, const std::stop_token& stop) : pool_(pool)
    {
        std::unique_lock lock(pool_.mutex_);
        const auto is_free = [&] { return pool_.turns_ < pool_.max_processes_; };
        if (!pool_.turn_ended_.wait(lock, stop, is_free) || stop.stop_requested())
            throw Exception();
        ++pool_.turns_;
    }
    ~Turn()
    {
        const std::lock_guard lock(pool_.mutex_);
        --pool_.turns_;
        pool_.turn_ended_.notify_one();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    DecoderPool& pool_;
};

DecoderPool::DecoderPool(Url program, Medium medium, std::size_t max_processes,
                         DecodingLimits limits, MemoryBudget& budget)
    : program_(std::move(program)), medium_(medium), max_processes_(max_processes), limits_(limits),
      budget_(budget)
{
}

DecoderPool::~DecoderPool() = default;

DecodedPicture DecoderPool::decode(int file, SizeWanted wanted, const std::stop_token& stop)
{
    const Turn turn(*this, stop);
    auto process = living_process();
    // An exception from here ends the process: the pool does not keep it.
    auto outcome = decode_with(*process, file, wanted, stop);
    {
        const std::lock_guard lock(mutex_);
        idle_.push_back(std::move(process));
    }
    if (const auto* refusal = std::get_if<Refusal>(&outcome))
        throw Error(refusal->sentence);
    return std::get<DecodedPicture>(std::move(outcome));
}

Outcome DecoderPool::decode_with(DecoderProcess& process, int file, SizeWanted wanted,
                                 const std::stop_token& stop)
{
    std::uint64_t memory = usual_memory(medium_);
    for (;;) {
        // A file with a greater need gives back its share: nobody waits with some in hand.
        const MemoryBudget::Share share(budget_, memory, stop);
        Outcome outcome = process.decode(file, wanted, share, limits_, stop);
        const auto* needs = std::get_if<NeedsMemory>(&outcome);
        if (!needs)
            return outcome;
        if (needs->bytes <= share.size() || share.is_all())
            throw Error("The helper that decodes pictures does not answer as agreed.");
        memory = needs->bytes;
    }
}

std::unique_ptr<DecoderProcess> DecoderPool::living_process()
{
    for (;;) {
        std::unique_ptr<DecoderProcess> process;
        {
            const std::lock_guard lock(mutex_);
            if (idle_.empty())
                break;
            process = std::move(idle_.back());
            idle_.pop_back();
        }
        if (process->is_alive())
            return process;
    }
    return std::make_unique<DecoderProcess>(program_, medium_);
}

} // namespace orv::picture
