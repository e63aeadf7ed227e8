#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace orv::app {

/// Adds up the sizes of items in the background, one after the other.
///
/// Threading: main thread.
class TotalSize {
public:
    /// `known` gets the bytes of all `items`; it is not called when one cannot be measured.
    TotalSize(std::vector<Url> items, std::function<void(std::int64_t)> known);

    /// Gives up what is not measured yet.
    ~TotalSize();

    TotalSize(const TotalSize&) = delete;
    TotalSize& operator=(const TotalSize&) = delete;

    [[nodiscard]] bool is_busy() const;

private:
    struct Sum;

    static void go_on(const std::shared_ptr<Sum>& sum);

    std::shared_ptr<Sum> sum_;
};

} // namespace orv::app
