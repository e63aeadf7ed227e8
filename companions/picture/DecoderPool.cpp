#include "picture/DecoderPool.hpp"

#include "picture/DecoderProcess.hpp"

#include <orv/utility/Error.hpp>

namespace orv::picture {

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
                         DecodingLimits limits)
    : program_(std::move(program)), medium_(medium), max_processes_(max_processes), limits_(limits)
{
}

DecoderPool::~DecoderPool() = default;

DecodedPicture DecoderPool::decode(int file, SizeWanted wanted, const std::stop_token& stop)
{
    const Turn turn(*this, stop);
    auto process = living_process();
    // What this throws ends the process: it is not kept.
    auto answer = process->decode(file, wanted, limits_, stop);
    {
        const std::lock_guard lock(mutex_);
        idle_.push_back(std::move(process));
    }
    if (const auto* refusal = std::get_if<Refusal>(&answer))
        throw Error(refusal->sentence);
    return std::get<DecodedPicture>(std::move(answer));
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
