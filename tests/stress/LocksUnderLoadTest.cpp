#include "Operations/frame/UrlLocker.hpp"
#include "stress/Load.hpp"
#include "support/Engine.hpp"

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace orv::test {
namespace {

/// Compares what stands after all requests with what they ended as. In which order they worked is
/// not known, so each thing that is checked holds in any order.
class LocksUnderLoadTest : public EngineTest {
protected:
    void load(std::size_t count)
    {
        const char* given = std::getenv("ORV_STRESS_SEED");
        const unsigned seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10))
                                    : std::random_device()();
        std::cout << count << " requests, ORV_STRESS_SEED=" << seed << "\n";
        make_stress_tree(folder());
        before_ = stress_state_of(folder());
        load_.emplace(folder(), seed);
        load_->run(count);
        after_ = stress_state_of(folder());
        for (const auto& [path, item] : after_.items)
            if (item.identity && !is_in_copy(path))
                found_[*item.identity].push_back(path);
    }

    void expect_ends()
    {
        for (const Job& job : load_->jobs())
            EXPECT_EQ(job.final_count, 1) << "of request " << job.number;
        EXPECT_FALSE(UrlLocker::is_read_locked("/"));
        load_->release_reservations();
        expect_no_locks();
    }

    /// While a place is reserved, no request succeeds there. (One that asked about a taken name may
    /// have gone elsewhere.)
    void expect_respected_reservations()
    {
        for (const Reservation& reservation : load_->released())
            for (const Job& job : load_->jobs())
                if (job.is_done && !job.was_asked && reservation.begin < job.begin &&
                    job.end < reservation.end) {
                    EXPECT_FALSE(uses(job, reservation.ticket->url()))
                        << job.number << " at " << reservation.ticket->url().path();
                }
    }

    static bool uses(const Job& job, const Url& url)
    {
        return (!job.is_of_many() && UrlLocker::do_urls_conflict(job.destination, url)) ||
               std::ranges::any_of(job.sources, [&](const Url& source) {
                   return UrlLocker::do_urls_conflict(source, url) ||
                          UrlLocker::do_urls_conflict(job.destination_of(source), url);
               });
    }

    void expect_whole_files()
    {
        for (const auto& [path, item] : after_.items) {
            EXPECT_TRUE(item.is_folder || item.identity) << path << " is not whole";
            EXPECT_FALSE(Url(at(path)).last_path_component().starts_with('.')) << path;
        }
    }

    /// What may not be deleted stands in one place; of the rest as much is gone as was deleted.
    void expect_nothing_lost()
    {
        int expendables_gone = 0;
        int parcels_gone = 0;
        for (const auto& [path, item] : before_.items) {
            if (!item.identity)
                continue;
            const std::size_t places = found_[*item.identity].size();
            const char kind = Url(at(path)).last_path_component().front();
            EXPECT_LE(places, 1U) << path;
            if (kind == 'e')
                expendables_gone += places == 0 ? 1 : 0;
            else if (kind == 'x')
                parcels_gone += places == 0 ? 1 : 0;
            else if (path.find("/x") == std::string::npos) {
                EXPECT_EQ(places, 1U) << path << " is lost";
            }
        }
        expect_gone(expendables_gone, 'e');
        expect_gone(parcels_gone, 'x');
        expect_whole_parcels();
    }

    /// A request that failed after it was told to replace something may have begun with that.
    void expect_gone(int gone, char kind)
    {
        int deleted = 0;
        int perhaps = 0;
        for (const Job& job : load_->jobs()) {
            if (job.kind == Job::Kind::remove && job.is_done &&
                job.sources[0].last_path_component().starts_with(kind))
                ++deleted;
            if (job.is_move() && kind == 'e')
                (job.is_done ? deleted : perhaps) += job.replaced;
        }
        EXPECT_GE(gone, deleted) << kind;
        EXPECT_LE(gone, deleted + perhaps) << kind;
    }

    void expect_whole_parcels()
    {
        for (const auto& [path, item] : before_.items)
            if (item.identity && Url(at(path)).last_path_component().starts_with('x'))
                for (int i = 1; i <= parcel_size; ++i) {
                    EXPECT_EQ(found_[*item.identity + i].size(), found_[*item.identity].size())
                        << "of " << path << " a part is left";
                }
    }

    void expect_what_was_made()
    {
        for (const Job& job : load_->jobs()) {
            if (job.kind == Job::Kind::generate &&
                !job.destination.last_path_component().starts_with('v')) {
                EXPECT_EQ(found_[job.generated()].size(), job.is_done ? 1U : 0U) << job.number;
            }
            if (job.kind == Job::Kind::copy && job.is_done && !job.was_asked &&
                !job.destination.last_path_component().starts_with('v'))
                expect_copy(job.sources[0], job.destination);
            if (job.kind == Job::Kind::copy_many && job.is_done && !job.was_asked)
                for (const Url& source : job.sources)
                    expect_copy(source, job.destination.appending(source.last_path_component()));
        }
    }

    void expect_copy(const Url& source, const Url& destination)
    {
        const std::string path = path_of(destination);
        EXPECT_TRUE(after_.items.contains(path)) << path << ", a copy, is missing";
        const char kind = source.last_path_component().front();
        const auto wanted = kind == 'b' ? box_size : kind == 'x' ? parcel_size : 0;
        EXPECT_GE(std::ranges::count_if(
                      after_.items,
                      [&](const auto& item) { return item.first.starts_with(path + "/f"); }),
                  wanted)
            << path << ", a copy, is not whole";
    }

    void expect_rows()
    {
        for (const auto& [path, item] : after_.items)
            if (item.identity)
                expect_row(path, item);
        for (const auto& [path, order_no] : after_.rows)
            EXPECT_TRUE(after_.items.contains(path) || may_have_stray_row(path))
                << "the row of " << path << ", where nothing is";
    }

    /// Beside copies, an item has its own row or none.
    void expect_row(const std::string& path, const StressState::Item& item)
    {
        if (path.find("/v") != std::string::npos || (is_in_copy(path) && item.is_folder))
            return;
        const auto row = after_.rows.find(path);
        if (row != after_.rows.end()) {
            EXPECT_TRUE(has_row(*item.identity) && row->second == *item.identity)
                << path << " has the row " << row->second << ", but is " << *item.identity;
        } else {
            EXPECT_TRUE(!has_row(*item.identity) ||
                        (is_in_copy(path) && source_may_have_been_moved_meanwhile(path)))
                << path << " has lost its row";
        }
    }

    /// Rows go to a destination before the item, so they stay when it fails to.
    bool may_have_stray_row(const std::string& path)
    {
        return path.find("/v") != std::string::npos ||
               std::ranges::any_of(load_->jobs(), [&](const Job& job) {
                   return job.is_move() && std::ranges::any_of(job.sources, [&](const Url& source) {
                              return path.starts_with(path_of(job.destination_of(source)));
                          });
               });
    }

    /// A copy and a move may read the same source.
    bool source_may_have_been_moved_meanwhile(const std::string& path)
    {
        const auto& jobs = load_->jobs();
        const auto moved_meanwhile = [&](const Job& copy) {
            return std::ranges::any_of(jobs, [&](const Job& move) {
                return move.is_move() && move.begin < copy.end && copy.begin < move.end &&
                       have_common_source(move, copy);
            });
        };
        return std::ranges::any_of(jobs, [&](const Job& copy) {
            return copy.is_copy() && path.starts_with(path_of(copy.destination)) &&
                   moved_meanwhile(copy);
        });
    }

    static bool have_common_source(const Job& one, const Job& other)
    {
        for (const Url& source : one.sources)
            for (const Url& its_source : other.sources)
                if (UrlLocker::do_urls_conflict(source, its_source))
                    return true;
        return false;
    }

    void expect_untouched_bystanders()
    {
        const auto of_bystanders = [](const auto& all) {
            std::vector<std::string> lines;
            for (const auto& [path, what] : all)
                if (path.starts_with("bystander"))
                    lines.push_back(path + text(what));
            return lines;
        };
        EXPECT_EQ(of_bystanders(after_.items), of_bystanders(before_.items));
        EXPECT_EQ(of_bystanders(after_.rows), of_bystanders(before_.rows));
    }

    [[nodiscard]] std::string path_of(const Url& url) const
    {
        return url.path().substr(folder().path().size() + 1);
    }

private:
    static std::string text(std::int64_t order_no) { return " " + std::to_string(order_no); }
    static std::string text(const StressState::Item& item)
    {
        return text(item.identity.value_or(-1));
    }

    std::optional<Load> load_;
    StressState before_;
    StressState after_;
    std::map<std::int64_t, std::vector<std::string>> found_; // outside copies, by identity
};

TEST_F(LocksUnderLoadTest, what_requests_leave_is_what_they_said)
{
    load(2'000);
    expect_ends();
    expect_respected_reservations();
    expect_whole_files();
    expect_nothing_lost();
    expect_what_was_made();
    expect_rows();
    expect_untouched_bystanders();
}

} // namespace
} // namespace orv::test
