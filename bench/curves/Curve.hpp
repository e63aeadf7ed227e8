#pragma once

#include "Measure.hpp"

#include <string>
#include <vector>

namespace orv::bench {

/// Something that the engine does with a number of items.
struct Curve {
    const char* name;
    const char* title;
    /// Makes what `measure` works on, in the empty folder `folder`.
    void (*prepare)(const std::string& folder, int count);
    /// Does it there and returns the seconds that it took; runs in a process of its own.
    double (*measure)(const std::string& folder, int count);
    /// The time is that of one call, which is to be the same however many items there are.
    bool per_call = false;
};

[[nodiscard]] std::vector<Curve> curves();

/// What `curve` costs with `count` items, below `folder`.
[[nodiscard]] Usage run_at(const Curve& curve, int count, const std::string& folder);

} // namespace orv::bench
