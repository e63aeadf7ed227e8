#pragma once

#include "utility/WorkerPool.hpp"

#include <functional>
#include <future>
#include <memory>
#include <utility>

namespace orv {

/// Runs `task` on a background thread; drops it if there is none. The result becomes ready in
/// either case.
///
/// Threading: any.
inline std::future<void> bg_future(std::function<void()> task)
{
    const auto done = std::make_shared<std::promise<void>>();
    std::future<void> result = done->get_future();
    const auto end = [done] { done->set_value(); };
    WorkerPool::instance().async(
        [task = std::move(task), end] {
            task();
            end();
        },
        end);
    return result;
}

} // namespace orv
