#pragma once

#include "stress/StressTree.hpp"

#include <orv/orv.hpp>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

namespace orv::test {

/// A request with what came of it.
struct Job {
    enum class Kind { copy, copy_many, move, move_many, rename, remove, generate, reserve };

    std::int64_t number = 0;
    Kind kind = Kind::copy;
    std::vector<Url> sources;
    Url destination; ///< of several items their folder
    std::shared_ptr<OrvOperation> operation;
    int begin = 0; ///< of its life, counted in begins and ends of all
    int end = 0;
    int final_count = 0;
    bool is_done = false; ///< with success
    bool was_asked = false;
    int replaced = 0; ///< how often it was told to replace something

    [[nodiscard]] bool is_copy() const { return kind == Kind::copy || kind == Kind::copy_many; }
    [[nodiscard]] bool is_move() const
    {
        return kind == Kind::move || kind == Kind::move_many || kind == Kind::rename;
    }
    [[nodiscard]] bool is_of_many() const
    {
        return kind == Kind::copy_many || kind == Kind::move_many;
    }
    [[nodiscard]] Url destination_of(const Url& source) const
    {
        return is_of_many() ? destination.appending(source.last_path_component()) : destination;
    }
    /// What the file that it generates is made from.
    [[nodiscard]] std::int64_t generated() const { return 3 * (1'000 + number); }
};

/// A place that was reserved for a while.
struct Reservation {
    std::shared_ptr<ReserveFileUrlOpr::Ticket> ticket;
    bool has_item = false; ///< something stood there
    int begin = 0;
    int end = 0;
};

/// Many requests on the shelves of one tree at a time, which want the same items and places.
/// Questions are answered at once or later, and some requests are cancelled at any time.
///
/// Threading: main thread.
class Load {
public:
    Load(const Url& root, unsigned seed) : root_(root), random_(seed) {}

    /// Starts `count` requests and waits for the end of all. Reservations stay in force.
    void run(std::size_t count);

    [[nodiscard]] const std::deque<Job>& jobs() const { return jobs_; }

    [[nodiscard]] const std::vector<Reservation>& released() const { return released_; }

    void release_reservations();

    /// The name of folders that several items are copied to.
    static constexpr const char* tray = "ctray";

private:
    static OrvFileManager& manager() { return OrvFileManager::singleton(); }

    int number_below(std::size_t limit);
    bool chance(int percent) { return number_below(100) < percent; }
    template <class List>
    auto one_of(const List& list)
    {
        return list[static_cast<std::size_t>(number_below(std::size(list)))];
    }

    Url shelf();
    Url item_in(const Url& folder, std::string_view kinds);
    Url some_item(std::string_view kinds);
    Url some_place(char kind);

    void start_one();
    void start_copy(Job& job);
    void start_copy_many(Job& job);
    void start_move(Job& job);
    void start_move_many(Job& job);
    void start_rename(Job& job);
    void start_remove(Job& job);
    void start_generate(Job& job);
    void start_reserve(Job& job);

    /// What a request tells goes here.
    [[nodiscard]] auto taker(Job& job)
    {
        return [this, &job, closure = closures_](const auto& status) { take(job, status); };
    }
    template <class Status>
    void take(Job& job, const Status& status);
    void finish(Job& job, bool is_done);
    void expect_held(const Job& job, const status::preparing& status);
    void expect_held(const Job& job, const status::progress<GeneralProgress>& status);
    template <class Status>
    void expect_held(const Job& /*job*/, const Status& /*others*/)
    {
    }

    void answer(Job& job, const std::shared_ptr<ConflictResolver>& question);
    void give_an_answer();
    void cancel_one();
    void release_one();

    Url root_;
    std::mt19937 random_;
    std::deque<Job> jobs_;
    std::vector<Job*> running_;
    std::deque<std::function<void()>> answers_; // to be given later
    std::vector<Reservation> reservations_;     // in force
    std::vector<Reservation> released_;
    std::map<char, std::deque<Url>> recent_places_;
    std::shared_ptr<int> closures_ = std::make_shared<int>(); // counts them
    int now_ = 0;
};

} // namespace orv::test
