#pragma once

#include "Database/DBManager.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace orv::test {

using Texts = std::vector<std::string>;

inline Texts in_order(Texts texts)
{
    std::sort(texts.begin(), texts.end());
    return texts;
}

/// The base of tests of the attribute store alone: a new database for each, and a home folder that
/// the process keeps.
class AttributesTest : public testing::Test {
protected:
    AttributesTest();
    ~AttributesTest() override;

    /// A location in the home folder, and one beside it.
    [[nodiscard]] static Url home(std::string_view name);
    [[nodiscard]] static Url outside(std::string_view name);

    [[nodiscard]] Database& database() { return manager_.db(); }

    /// Stores a row for each entry: "key=number", the number being its order number.
    void put(const Texts& rows);

    /// All rows that are stored, sorted as texts.
    [[nodiscard]] Texts rows();

private:
    Scratch folder_;
    DBManager manager_;
};

} // namespace orv::test
