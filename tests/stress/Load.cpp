#include "stress/Load.hpp"

#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <algorithm>
#include <filesystem>

namespace orv::test {

void Load::run(std::size_t count)
{
    for (int i = 0; i < shelves; ++i)
        make_tree(root_, {"s" + std::to_string(i) + "/" + tray + "/"});
    while (jobs_.size() < count) {
        start_one();
        const auto at_once = static_cast<std::size_t>(1 + number_below(150));
        pump_until([&] {
            give_an_answer();
            return running_.size() < at_once;
        });
        if (chance(20))
            cancel_one();
        if (reservations_.size() > 15)
            release_one();
    }
    pump_until([&] {
        give_an_answer();
        return running_.empty();
    });
    EXPECT_EQ(closures_.use_count(), 1) << "a closure lives on";
}

int Load::number_below(std::size_t limit)
{
    return std::uniform_int_distribution<int>(0, static_cast<int>(limit) - 1)(random_);
}

Url Load::shelf()
{
    return root_.appending("s" + std::to_string(number_below(shelves)));
}

/// An item of one of the kinds; where there is none, one that is missing.
Url Load::item_in(const Url& folder, std::string_view kinds)
{
    std::vector<Url> items;
    std::error_code gone;
    for (std::filesystem::directory_iterator at(folder.path(), gone), end; at != end;
         at.increment(gone))
        if (kinds.find(at->path().filename().string().front()) != std::string_view::npos)
            items.emplace_back(at->path());
    return items.empty() ? folder.appending("missing") : one_of(items);
}

Url Load::some_item(std::string_view kinds)
{
    return item_in(chance(25) ? item_in(shelf(), "b") : shelf(), kinds);
}

/// A new place, one that another request was given just before, or one that is taken.
Url Load::some_place(char kind)
{
    std::deque<Url>& recent = recent_places_[kind];
    const int choice = number_below(100);
    if (choice < 50 && !recent.empty())
        return one_of(recent);
    if (choice < 65)
        if (const Url taken = some_item(std::string_view(&kind, 1)); manager().file_exists(taken))
            return taken;
    const bool goes_into_box = kind != 'b' && kind != 'c' && chance(20);
    const Url folder = goes_into_box ? item_in(shelf(), "b") : shelf();
    const int number = kind == 'v' ? number_below(3) : 1'000 + static_cast<int>(jobs_.size());
    recent.push_back(folder.appending(kind + std::to_string(number)));
    if (recent.size() > 2)
        recent.pop_front();
    return recent.back();
}

void Load::start_one()
{
    using enum Job::Kind;
    static constexpr Job::Kind kinds[] = {copy,   copy,   copy_many, move,     move,   move_many,
                                          rename, rename, remove,    generate, reserve};
    Job& job = jobs_.emplace_back();
    job.number = static_cast<std::int64_t>(jobs_.size());
    job.kind = one_of(kinds);
    job.begin = ++now_;
    running_.push_back(&job);
    switch (job.kind) {
    case copy:
        return start_copy(job);
    case copy_many:
        return start_copy_many(job);
    case move:
        return start_move(job);
    case move_many:
        return start_move_many(job);
    case rename:
        return start_rename(job);
    case remove:
        return start_remove(job);
    case generate:
        return start_generate(job);
    case reserve:
        return start_reserve(job);
    }
}

void Load::start_copy(Job& job)
{
    if (chance(3)) {
        job.sources = {shelf()};
        job.destination = root_.appending("c" + std::to_string(job.number));
    } else {
        job.sources = {some_item("oebxg")};
        job.destination = some_place(one_of(std::string_view("cccv")));
    }
    job.operation = manager().copy(job.sources[0], job.destination, taker(job));
}

void Load::start_copy_many(Job& job)
{
    for (int more = number_below(3); more >= 0; --more)
        job.sources.push_back(some_item("oebx"));
    job.destination = shelf().appending(tray);
    job.operation = manager().copy(job.sources, job.destination, taker(job));
}

void Load::start_move(Job& job)
{
    const char kind = one_of(std::string_view("oooeeebx"));
    job.sources = {some_item(std::string_view(&kind, 1))};
    job.destination = some_place(kind);
    job.operation = manager().move(job.sources[0], job.destination, taker(job));
}

void Load::start_move_many(Job& job)
{
    const bool goes_into_box = chance(30);
    for (int more = number_below(3); more >= 0; --more)
        job.sources.push_back(some_item(goes_into_box ? "oe" : "oebx"));
    job.destination = goes_into_box ? item_in(shelf(), "b") : shelf();
    job.operation = manager().move(job.sources, job.destination, taker(job));
}

void Load::start_rename(Job& job)
{
    const char kind = one_of(std::string_view("oooebx"));
    job.sources = {some_item(std::string_view(&kind, 1))};
    const std::string name = some_place(kind).last_path_component();
    job.destination = job.sources[0].deleting_last_path_component().appending(name);
    job.operation = manager().rename(job.sources[0], name, taker(job));
}

void Load::start_remove(Job& job)
{
    job.sources = {some_item(chance(80) ? "e" : "x")};
    job.operation = manager().delete_item(job.sources[0], taker(job));
}

void Load::start_generate(Job& job)
{
    job.destination = some_place(one_of(std::string_view("gggv")));
    const std::string text = content_of(job.generated());
    std::vector<std::byte> data(text.size());
    std::ranges::transform(text, data.begin(), [](char c) { return static_cast<std::byte>(c); });
    job.operation = manager().generate_file(std::move(data), job.destination, taker(job));
}

void Load::start_reserve(Job& job)
{
    job.destination =
        chance(50) ? some_item("oebxg") : some_place(one_of(std::string_view("oegcv")));
    job.operation = manager().reserve_file_url(job.destination, taker(job));
}

template <class Status>
void Load::take(Job& job, const Status& status)
{
    std::visit([&](const auto& its_case) { expect_held(job, its_case); }, status);
    if constexpr (has_case<status::conflict_occured, Status>)
        if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
            answer(job, conflict->resolver);
    if constexpr (has_case<ReserveFileUrlOpr::success, Status>)
        if (const auto* reserved = std::get_if<ReserveFileUrlOpr::success>(&status))
            reservations_.push_back(
                {reserved->reservation_ticket, manager().file_exists(reserved->final_url), now_});
    if (test::is_final(status))
        finish(job, text_of(status).starts_with("success"));
    if (chance(2))
        cancel_one();
}

void Load::finish(Job& job, bool is_done)
{
    ++job.final_count;
    job.is_done = is_done;
    job.end = ++now_;
    EXPECT_FALSE(job.operation->is_busy());
    std::erase(running_, &job);
}

/// What has begun holds its items.
void Load::expect_held(const Job& job, const status::preparing& /*status*/)
{
    EXPECT_TRUE(job.is_of_many() || UrlLocker::is_read_locked(job.sources[0])) << job.number;
}

void Load::expect_held(const Job& job, const status::progress<GeneralProgress>& status)
{
    EXPECT_TRUE(job.was_asked || UrlLocker::is_write_locked(status.record.current_item))
        << job.number;
}

/// What is never to be lost is not replaced either.
void Load::answer(Job& job, const std::shared_ptr<ConflictResolver>& question)
{
    using enum ConflictBehaviour;
    const Url& taken = question->destination_url();
    const char kind = taken.last_path_component().front();
    const bool may_replace = kind == 'v' || (kind == 'e' && job.is_move() &&
                                             std::ranges::count(job.sources, taken) == 0);
    const ConflictBehaviour behaviours[] = {keep_both, merge, stop, replace, replace, replace};
    const ConflictBehaviour chosen = behaviours[number_below(may_replace ? 6 : 3)];
    job.was_asked = true;
    job.replaced += chosen == replace ? 1 : 0;
    const bool for_all = chosen != replace && chance(50);
    answers_.emplace_back([=] { question->resume(chosen, for_all); });
    if (chance(50))
        give_an_answer();
}

void Load::give_an_answer()
{
    if (answers_.empty())
        return;
    answers_.front()();
    answers_.pop_front();
}

void Load::cancel_one()
{
    if (!running_.empty())
        one_of(running_)->operation->cancel();
}

/// Nothing came or went at the place since it was reserved, save that another reservation which is
/// to replace an item does so before it looks for locks.
void Load::release_one()
{
    std::swap(reservations_[static_cast<std::size_t>(number_below(reservations_.size()))],
              reservations_.back());
    Reservation& reservation = released_.emplace_back(reservations_.back());
    reservations_.pop_back();
    reservation.end = ++now_;
    const Url& url = reservation.ticket->url();
    EXPECT_TRUE(UrlLocker::is_write_locked(url));
    EXPECT_TRUE(manager().file_exists(url) == reservation.has_item ||
                url.last_path_component().starts_with('v'))
        << url.path();
    manager().release_file_url(reservation.ticket);
    manager().release_file_url(reservation.ticket);
}

void Load::release_reservations()
{
    while (!reservations_.empty())
        release_one();
}

} // namespace orv::test
