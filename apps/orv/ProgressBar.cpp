#include "ProgressBar.hpp"

#include "HumanText.hpp"
#include "Terminal.hpp"
#include "Text.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace orv::app {
namespace {

constexpr std::chrono::milliseconds least_pause(100);

/// Such as "[#####.....]".
std::string gauge(float value, std::size_t width)
{
    const auto full = static_cast<std::size_t>(value * static_cast<float>(width));
    return fmt::format("[{:.<{}}]", std::string(std::min(full, width), '#'), width);
}

std::chrono::seconds whole_seconds(double seconds)
{
    constexpr double longest = 99 * 3600.0;
    return std::chrono::seconds(std::llround(std::min(seconds, longest)));
}

} // namespace

void ProgressBar::start()
{
    start_ = drawn_ = now_ = clock_.now();
}

void ProgressBar::draw_if_due()
{
    now_ = clock_.now();
    if (!shown_ || !start_ || now_ - drawn_ < least_pause)
        return;
    update_speed();
    draw();
}

std::function<void()> ProgressBar::ticker()
{
    if (!shown_)
        return {};
    return [this] { draw_if_due(); };
}

void ProgressBar::finish()
{
    if (!shown_ || !start_)
        return;
    now_ = clock_.now();
    progress_.value = 1;
    speed_ = 1 / std::max(elapsed_seconds(), 1e-3);
    draw();
    end_line();
}

/// The latest seconds count more than earlier ones.
void ProgressBar::update_speed()
{
    const double seconds = std::chrono::duration<double>(now_ - drawn_).count();
    const double latest = static_cast<double>(progress_.value - value_when_drawn_) / seconds;
    const double weight = speed_ == 0 ? 1 : 1 - std::exp(-seconds / 3);
    speed_ += weight * (latest - speed_);
    drawn_ = now_;
    value_when_drawn_ = progress_.value;
}

void ProgressBar::draw() const
{
    draw_line(line(terminal_columns()));
}

std::string ProgressBar::line(std::size_t columns) const
{
    const std::size_t usable = columns - std::min<std::size_t>(columns, 1);
    const std::string name = printable(progress_.item_name);
    std::string text = fmt::format("{:3.0f}% {} {}  ", std::floor(progress_.value * 100),
                                   gauge(progress_.value, columns >= 80 ? 16 : 8), amounts());
    const std::size_t left = usable - std::min(usable, columns_of(text));
    return cut_to(usable, left >= 8 ? text + cut_to(left, name) : text);
}

std::string ProgressBar::amounts() const
{
    const double left = 1 - static_cast<double>(progress_.value);
    const std::string time = left == 0    ? human_duration(whole_seconds(elapsed_seconds()))
                             : speed_ > 0 ? human_duration(whole_seconds(left / speed_)) + " left"
                                          : "-:-- left";
    if (!total_)
        return time;
    const auto total = static_cast<double>(*total_);
    return fmt::format("{} of {}  {}/s  {}",
                       human_size(static_cast<double>(progress_.value) * total), human_size(total),
                       human_size(speed_ * total), time);
}

double ProgressBar::elapsed_seconds() const
{
    return std::chrono::duration<double>(now_ - *start_).count();
}

} // namespace orv::app
