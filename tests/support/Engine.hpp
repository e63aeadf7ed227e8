#pragma once

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <orv/orv.hpp>

#include <functional>

#include <gtest/gtest.h>

namespace orv::test {

/// Fails the test when a location is locked.
void expect_no_locks();

/// Drives the main queue until `predicate` holds; a test failure when it does not within half a
/// minute.
void pump_until(const std::function<bool()>& predicate);

/// The base of tests that use the whole engine: a fresh folder for every test, in a home that the
/// process keeps; the database and the temporary folder lie outside that home.
class EngineTest : public testing::Test {
protected:
    EngineTest();
    ~EngineTest() override;

    /// No request leaves a file that is being built or a lock behind.
    void TearDown() override;

    [[nodiscard]] OrvFileManager& manager() const { return OrvFileManager::singleton(); }

    /// A location in the test's own folder.
    [[nodiscard]] Url at(std::string_view name) const { return folder_.appending(name); }
    [[nodiscard]] const Url& folder() const { return folder_; }

    /// Where all that belongs to the engine of this process lies.
    [[nodiscard]] static const Url& root();

    /// Where files are built; empty whenever no request is at work.
    [[nodiscard]] static Url processed_files_folder();

private:
    Url folder_;
};

/// Starts a request with `start`, which is given the closure to pass on, drives the main queue
/// until the operation is no longer busy, and returns its statuses in order.
template <class Operation, class Start>
std::vector<typename Operation::Status> statuses_of(Start start)
{
    std::vector<typename Operation::Status> statuses;
    const auto operation =
        start([&](const typename Operation::Status& status) { statuses.push_back(status); });
    pump_until([&] { return !operation->is_busy(); });
    return statuses;
}

} // namespace orv::test
