#pragma once

#include <orv/utility/Url.hpp>

#include <random>
#include <string>

namespace orv::test {

/// Changes a folder as other programs do, at random, without the library: items come, go, get
/// other names, replace each other and are written to.
class RandomChanges {
public:
    RandomChanges(Url folder, unsigned seed) : folder_(std::move(folder)), random_(seed) {}

    /// Makes one change, or tries one that does not go.
    void make_one();

private:
    [[nodiscard]] int number(int below);
    [[nodiscard]] std::string path();
    void save_by_replacing();

    Url folder_;
    std::mt19937 random_;
};

} // namespace orv::test
