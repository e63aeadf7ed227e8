#include "Tool/Tool.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/Operations/ConflictResolver.hpp>

#include <cassert>
#include <condition_variable>
#include <mutex>

namespace orv {

struct ConflictResolver::Answer {
    mutable std::mutex mutex;
    std::condition_variable given;
    std::optional<ConflictBehaviour> behaviour;
    bool apply_to_all = false;
};

ConflictResolver::ConflictResolver(bool is_conflict_mergeable, Url destination_url)
    : is_conflict_mergeable_(is_conflict_mergeable), destination_url_(std::move(destination_url)),
      answer_(std::make_unique<Answer>())
{
}

ConflictResolver::~ConflictResolver() = default;

void ConflictResolver::resume(ConflictBehaviour with, bool apply_to_all)
{
    const std::lock_guard lock(answer_->mutex);
    assert(!answer_->behaviour && "a conflict question was answered twice");
    if (answer_->behaviour)
        return;
    answer_->behaviour = with;
    answer_->apply_to_all = apply_to_all;
    answer_->given.notify_all();
}

std::optional<ConflictBehaviour> ConflictResolver::selected_behaviour() const
{
    const std::lock_guard lock(answer_->mutex);
    return answer_->behaviour;
}

bool ConflictResolver::apply_to_all() const
{
    const std::lock_guard lock(answer_->mutex);
    return answer_->apply_to_all;
}

ConflictBehaviour ConflictResolver::wait()
{
    const WorkerPool::Blocked blocked;
    std::unique_lock lock(answer_->mutex);
    answer_->given.wait(lock, [this] { return answer_->behaviour.has_value(); });
    return *answer_->behaviour;
}

int how_many_conflicts_occur(const std::vector<Url>& for_urls, const Url& inside)
{
    int conflicts = 0;
    for (const Url& url : for_urls)
        if (Tool::item_exists(inside.appending(url.last_path_component())))
            ++conflicts;
    return conflicts;
}

} // namespace orv
