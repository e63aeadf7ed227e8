#include "Operations/frame/RunningOperations.hpp"

#include <list>
#include <mutex>
#include <utility>

namespace orv {
namespace {

struct RunningList {
    std::mutex mutex;
    // The pointer finds an operation whose last owner is just dropping it.
    std::list<std::pair<const OrvOperation*, std::weak_ptr<OrvOperation>>> operations;
};

// Never destroyed: requests may be under way while the process ends.
RunningList& running_list()
{
    static auto* list = new RunningList;
    return *list;
}

} // namespace

void RunningOperations::add(const std::shared_ptr<OrvOperation>& operation)
{
    RunningList& list = running_list();
    const std::lock_guard lock(list.mutex);
    list.operations.emplace_back(operation.get(), operation);
}

void RunningOperations::remove(const OrvOperation& operation)
{
    RunningList& list = running_list();
    const std::lock_guard lock(list.mutex);
    list.operations.remove_if([&](const auto& entry) { return entry.first == &operation; });
}

std::vector<std::shared_ptr<OrvOperation>> RunningOperations::all()
{
    RunningList& list = running_list();
    const std::lock_guard lock(list.mutex);
    std::vector<std::shared_ptr<OrvOperation>> all;
    for (const auto& [address, operation] : list.operations)
        if (auto running = operation.lock())
            all.push_back(std::move(running));
    return all;
}

} // namespace orv
