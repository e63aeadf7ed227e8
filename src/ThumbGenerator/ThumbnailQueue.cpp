#include "ThumbGenerator/SharedThumbnails.hpp"
#include "ThumbGenerator/ThumbnailAccess.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/ThumbGenerator/ThumbnailQueue.hpp>
#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <stop_token>
#include <thread>
#include <unordered_map>
#include <utility>

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;

/// How long a turn of the main loop delivers thumbnails.
constexpr std::chrono::milliseconds longest_turn(2);

/// Stopping a decoder costs its process. Most thumbnails are ready sooner than a new process, and
/// the memory of recent ones keeps them for the next wish.
constexpr std::chrono::milliseconds worth_a_helper(250);

std::size_t core_count()
{
    return std::max(std::thread::hardware_concurrency(), 1U);
}

SizeWanted within(ThumbnailQueue::Box box)
{
    return {
        .width = std::max(box.width, 1U), .height = std::max(box.height, 1U), .fit = Fit::within};
}

Error no_thread()
{
    return Error("The thumbnail couldn't be made, because the system allows no more threads.")
        .known_as(Cause::exhausted);
}

/// A file in a list of wishes.
struct ThumbnailWish {
    enum class Stage { waiting, at_work, made, delivered };

    explicit ThumbnailWish(Url its_url) : url(std::move(its_url)) {}

    const Url url;
    Stage stage = Stage::waiting;
    bool is_outdated = false; ///< the file changed while its thumbnail was made
    Clock::time_point began = {};
    std::stop_source stop;
    std::optional<MadeThumbnail> made;
};

using Stage = ThumbnailWish::Stage;

} // namespace

class ThumbnailQueue::Impl : public std::enable_shared_from_this<Impl> {
public:
    Impl(Box box, Options options, Closure on_made)
        : wanted_(within(box)),
          shared_(options.use_shared_folder ? std::make_shared<SharedThumbnails>() : nullptr),
          on_made_(std::move(on_made))
    {
    }

    void set_wishes(const std::vector<Url>& urls);
    void renew(const Url& url);
    void end();

private:
    using Wish = std::shared_ptr<ThumbnailWish>;

    // Call these with the mutex locked.
    [[nodiscard]] std::unordered_map<Url, Wish> known_wishes() const;
    void stop_slow_ones(const std::unordered_map<Url, Wish>& dropped);
    void look_through_again();
    [[nodiscard]] std::size_t add_tasks();
    [[nodiscard]] Wish claim();
    [[nodiscard]] Wish next_due();
    [[nodiscard]] bool needs_delivery();

    void start_tasks(std::size_t count);
    void make_one();
    void finish(const Wish& wish, std::optional<MadeThumbnail> made);
    void refuse();
    void queue_delivery();
    void deliver();
    void end_delivery();

    const SizeWanted wanted_;
    const std::shared_ptr<const SharedThumbnails> shared_;

    std::mutex mutex_; // guards the members up to the closure; never locked while it runs
    std::vector<Wish> wishes_;
    std::vector<Wish> at_work_;  // also those that left the list
    std::size_t waiting_ = 0;    // wishes of the list in that stage
    std::size_t first_wait_ = 0; // no earlier wish is waiting
    std::size_t first_open_ = 0; // all earlier wishes are delivered
    std::size_t tasks_ = 0;      // of the worker pool
    bool is_delivering_ = false; // a delivery is queued or at work

    Closure on_made_; // main thread only
    bool is_ended_ = false;
};

void ThumbnailQueue::Impl::set_wishes(const std::vector<Url>& urls)
{
    std::size_t new_tasks = 0;
    bool is_due = false;
    {
        const std::lock_guard lock(mutex_);
        auto known = known_wishes();
        wishes_.clear();
        for (const Url& url : urls) {
            const auto [place, is_new] = known.try_emplace(url);
            if (is_new)
                wishes_.push_back(std::make_shared<ThumbnailWish>(url));
            else if (place->second) // else the list has it already
                wishes_.push_back(std::exchange(place->second, nullptr));
        }
        stop_slow_ones(known);
        look_through_again();
        new_tasks = add_tasks();
        is_due = needs_delivery();
    }
    start_tasks(new_tasks);
    if (is_due)
        queue_delivery();
}

void ThumbnailQueue::Impl::renew(const Url& url)
{
    std::size_t new_tasks = 0;
    {
        const std::lock_guard lock(mutex_);
        const auto is_meant = [&](const Wish& wish) { return wish->url == url; };
        for (auto* list : {&at_work_, &wishes_})
            if (const auto found = std::ranges::find_if(*list, is_meant); found != list->end()) {
                if ((*found)->stage == Stage::at_work)
                    (*found)->is_outdated = true;
                else
                    (*found)->stage = Stage::waiting;
            }
        look_through_again();
        new_tasks = add_tasks();
    }
    start_tasks(new_tasks);
}

void ThumbnailQueue::Impl::end()
{
    set_wishes({});
    Closure gone; // destroyed without the lock
    const std::lock_guard lock(mutex_);
    is_ended_ = true;
    if (!is_delivering_)
        gone = std::exchange(on_made_, nullptr);
}

std::unordered_map<Url, ThumbnailQueue::Impl::Wish> ThumbnailQueue::Impl::known_wishes() const
{
    std::unordered_map<Url, Wish> known;
    for (const auto* list : {&wishes_, &at_work_})
        for (const Wish& wish : *list)
            known.try_emplace(wish->url, wish);
    return known;
}

void ThumbnailQueue::Impl::stop_slow_ones(const std::unordered_map<Url, Wish>& dropped)
{
    for (const Wish& wish : at_work_) {
        const auto found = dropped.find(wish->url);
        const bool is_dropped = found != dropped.end() && found->second;
        if (is_dropped && Clock::now() - wish->began > worth_a_helper)
            wish->stop.request_stop();
    }
}

void ThumbnailQueue::Impl::look_through_again()
{
    waiting_ = static_cast<std::size_t>(std::ranges::count_if(
        wishes_, [](const Wish& wish) { return wish->stage == Stage::waiting; }));
    first_wait_ = 0;
    first_open_ = 0;
}

std::size_t ThumbnailQueue::Impl::add_tasks()
{
    const std::size_t needed = std::min(core_count(), at_work_.size() + waiting_);
    const std::size_t added = needed - std::min(tasks_, needed);
    tasks_ += added;
    return added;
}

void ThumbnailQueue::Impl::start_tasks(std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        WorkerPool::instance().async([self = shared_from_this()] { self->make_one(); },
                                     [self = shared_from_this()] { self->refuse(); });
}

void ThumbnailQueue::Impl::make_one()
{
    const Wish wish = [&] {
        const std::lock_guard lock(mutex_);
        return claim();
    }();
    if (!wish)
        return;
    std::optional<MadeThumbnail> made;
    try {
        made = ThumbnailAccess::make(wish->url, wanted_, Formats::all, shared_,
                                     wish->stop.get_token());
    } catch (const Exception&) { // stopped: nobody waits for it, or its turn comes again
    } catch (const std::exception& error) {
        made = ThumbnailAccess::placeholder(wanted_, Error(error.what()).at(wish->url));
    }
    finish(wish, std::move(made));
    start_tasks(1); // lets other requests take their turns in between
}

ThumbnailQueue::Impl::Wish ThumbnailQueue::Impl::claim()
{
    while (first_wait_ < wishes_.size() && wishes_[first_wait_]->stage != Stage::waiting)
        ++first_wait_;
    if (first_wait_ == wishes_.size()) {
        --tasks_;
        return nullptr;
    }
    const Wish& wish = wishes_[first_wait_];
    wish->stage = Stage::at_work;
    wish->is_outdated = false;
    wish->began = Clock::now();
    wish->stop = std::stop_source();
    --waiting_;
    at_work_.push_back(wish);
    return wish;
}

void ThumbnailQueue::Impl::finish(const Wish& wish, std::optional<MadeThumbnail> made)
{
    bool is_due = false;
    {
        const std::lock_guard lock(mutex_);
        std::erase(at_work_, wish);
        const bool is_right = made && !wish->is_outdated;
        wish->stage = is_right ? Stage::made : Stage::waiting;
        wish->made = std::move(made);
        if (!is_right)
            look_through_again();
        is_due = needs_delivery();
    }
    if (is_due)
        queue_delivery();
}

/// The system allows no more threads. Without any, the rest of the wishes get the placeholder.
void ThumbnailQueue::Impl::refuse()
{
    bool is_due = false;
    {
        const std::lock_guard lock(mutex_);
        if (--tasks_ > 0)
            return;
        for (const Wish& wish : wishes_)
            if (wish->stage == Stage::waiting) {
                wish->made = ThumbnailAccess::placeholder(wanted_, no_thread().at(wish->url));
                wish->stage = Stage::made;
            }
        look_through_again();
        is_due = needs_delivery();
    }
    if (is_due)
        queue_delivery();
}

ThumbnailQueue::Impl::Wish ThumbnailQueue::Impl::next_due()
{
    while (first_open_ < wishes_.size() && wishes_[first_open_]->stage == Stage::delivered)
        ++first_open_;
    const bool is_due = first_open_ < wishes_.size() && wishes_[first_open_]->stage == Stage::made;
    return is_due ? wishes_[first_open_] : nullptr;
}

/// True if the caller has to queue a delivery.
bool ThumbnailQueue::Impl::needs_delivery()
{
    return !is_delivering_ && next_due() && (is_delivering_ = true);
}

void ThumbnailQueue::Impl::queue_delivery()
{
    main_async([self = shared_from_this()] { self->deliver(); });
}

void ThumbnailQueue::Impl::deliver()
{
    struct End {
        Impl& queue;
        ~End() { queue.end_delivery(); } // also when the closure throws
    } const end{*this};
    const auto turn_ends = Clock::now() + longest_turn;
    do {
        Made made;
        {
            const std::lock_guard lock(mutex_);
            const Wish due = next_due();
            if (!due || is_ended_)
                return;
            due->stage = Stage::delivered;
            made = {due->url, std::move(due->made->thumb), due->made->failure.has_value(),
                    std::move(due->made->failure)};
            due->made.reset();
        }
        if (on_made_)
            on_made_(made);
    } while (Clock::now() < turn_ends);
}

void ThumbnailQueue::Impl::end_delivery()
{
    bool is_due = false;
    Closure gone; // destroyed without the lock
    {
        const std::lock_guard lock(mutex_);
        is_delivering_ = false;
        if (is_ended_)
            gone = std::exchange(on_made_, nullptr);
        else
            is_due = needs_delivery();
    }
    if (is_due)
        queue_delivery();
}

ThumbnailQueue::ThumbnailQueue(Box box, Options options, Closure on_made)
    : impl_(std::make_shared<Impl>(box, options, std::move(on_made)))
{
    assert_main_thread("ThumbnailQueue()");
}

ThumbnailQueue::~ThumbnailQueue()
{
    assert_main_thread("~ThumbnailQueue()");
    impl_->end();
}

void ThumbnailQueue::set_wishes(const std::vector<Url>& urls)
{
    assert_main_thread("ThumbnailQueue::set_wishes");
    impl_->set_wishes(urls);
}

void ThumbnailQueue::renew(const Url& url)
{
    assert_main_thread("ThumbnailQueue::renew");
    impl_->renew(url);
}

} // namespace orv
