#include "faults/Scene.hpp"
#include "files/ProcessedFiles.hpp"
#include "support/Engine.hpp"
#include "support/Volume.hpp"

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <set>

namespace orv::test {
namespace {

using Status = CopyOperation::Status;

/// When a copy is cancelled.
enum class At { callback, item };

struct CancelCase {
    std::string name;
    ConflictBehaviour answer;
    bool is_taken; ///< something stands at the destination
    At at;
    bool is_tight = false; ///< the volume has no room for the copy beside what stands there
};

void PrintTo(const CancelCase& what, std::ostream* to)
{
    *to << what.name;
}

bool is_final(const Status& status)
{
    return std::holds_alternative<status::success>(status) ||
           std::holds_alternative<status::cancelled>(status) ||
           std::holds_alternative<status::error>(status);
}

/// A copy that is cancelled in its n-th callback, or in the first one that tells of its n-th item.
class CancelledCopy {
public:
    CancelledCopy(const CancelCase& what, std::size_t n) : what_(what), n_(n) {}

    void run(const Url& source, const Url& destination)
    {
        operation_ = OrvFileManager::singleton().copy(
            source, destination, [this](const Status& status) { take(status); });
        pump_until([this] { return !operation_->is_busy() && final_count_ > 0; });
    }

    [[nodiscard]] bool was_cancelled() const { return is_asked_; }
    [[nodiscard]] int final_count() const { return final_count_; }
    [[nodiscard]] const Status& last() const { return *last_; }

private:
    void take(const Status& status)
    {
        ++callbacks_;
        if (const auto* told = std::get_if<status::progress<CopyProgress>>(&status))
            items_.insert(told->record.item_name);
        final_count_ += is_final(status) ? 1 : 0;
        last_ = status;
        if (!is_asked_ && (what_.at == At::callback ? callbacks_ : items_.size()) == n_) {
            is_asked_ = true;
            operation_->cancel();
        }
        if (const auto* question = std::get_if<status::conflict_occured>(&status))
            question->resolver->resume(what_.answer, false);
    }

    const CancelCase& what_;
    const std::size_t n_;
    std::shared_ptr<CopyOperation> operation_;
    std::size_t callbacks_ = 0;
    std::set<std::string> items_;
    int final_count_ = 0;
    std::optional<Status> last_;
    bool is_asked_ = false;
};

class Cancel : public EngineTest, public testing::WithParamInterface<CancelCase> {
protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        if (!GetParam().is_tight)
            return;
        volume_ = Volume::in_memory(300);
        if (!volume_)
            GTEST_SKIP() << "this user may mount nothing";
    }

    Url destination() { return (volume_ ? volume_->url() : folder()).appending("destination"); }

    void make_items()
    {
        for (const Url& item : {at("source"), destination()})
            std::filesystem::remove_all(item);
        build(folder(), source_items());
        if (GetParam().is_taken)
            write_file(destination().appending("own"),
                       GetParam().is_tight ? pattern(245'000) : "only here");
    }

    static Snapshot source_items()
    {
        Snapshot items;
        put(items, "source", sample_tree());
        return items;
    }

    /// Everything at the destination is a whole item of the source, or was there before.
    void expect_whole_items(bool all)
    {
        Snapshot wanted = sample_tree();
        wanted.erase("");
        Snapshot found = snapshot_of(destination());
        const bool has_own = found.erase("own") > 0;
        EXPECT_TRUE(has_own || !GetParam().is_taken ||
                    GetParam().answer != ConflictBehaviour::merge);
        for (const auto& [path, item] : found)
            EXPECT_TRUE(wanted.contains(path) && item.same_content(wanted.at(path))) << path;
        EXPECT_TRUE(!all || found.size() == wanted.size());
        EXPECT_TRUE(all || GetParam().answer != ConflictBehaviour::replace ||
                    found.size() < wanted.size())
            << "it is cancelled, though it has replaced";
        EXPECT_TRUE(std::filesystem::is_empty(processed_files_folder()));
    }

    std::unique_ptr<Volume> volume_;
};

TEST_P(Cancel, leaves_whole_items_at_every_chance)
{
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("the chance number " + std::to_string(n));
        make_items();
        CancelledCopy copy(GetParam(), n);
        copy.run(at("source"), destination());
        const bool is_done = std::holds_alternative<status::success>(copy.last());
        EXPECT_EQ(copy.final_count(), 1);
        EXPECT_TRUE(is_done || std::holds_alternative<status::cancelled>(copy.last()));
        EXPECT_TRUE(copy.was_cancelled() || is_done);
        expect_whole_items(is_done);
        EXPECT_EQ(snapshot_of(at("source")).size(), sample_tree().size() - 1);
        EXPECT_TRUE(!manager().file_exists(destination()) ||
                    manager().sync_delete_item(destination()))
            << "a lock was kept";
        if (!copy.was_cancelled() || HasFailure())
            break;
    }
}

const CancelCase cancel_cases[] = {
    {"copy_in_callback", ConflictBehaviour::stop, false, At::callback},
    {"copy_at_item", ConflictBehaviour::stop, false, At::item},
    {"merge_in_callback", ConflictBehaviour::merge, true, At::callback},
    {"merge_at_item", ConflictBehaviour::merge, true, At::item},
    {"replace_in_callback", ConflictBehaviour::replace, true, At::callback},
    {"replace_without_room_for_both_in_callback", ConflictBehaviour::replace, true, At::callback,
     true},
};

INSTANTIATE_TEST_SUITE_P(Cancels, Cancel, testing::ValuesIn(cancel_cases),
                         [](const auto& what) { return what.param.name; });

} // namespace
} // namespace orv::test
