#include "Question.hpp"

#include "Terminal.hpp"
#include "Text.hpp"

#include <array>
#include <cctype>
#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <unistd.h>

namespace orv::app {
namespace {

/// The answer that the first letter of `line` stands for.
std::optional<ConflictBehaviour> answer_in(std::string_view line, bool is_mergeable)
{
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string_view::npos)
        return std::nullopt;
    switch (std::tolower(static_cast<unsigned char>(line[start]))) {
    case 'm':
        return is_mergeable ? std::optional(ConflictBehaviour::merge) : std::nullopt;
    case 'r':
        return ConflictBehaviour::replace;
    case 'k':
        return ConflictBehaviour::keep_both;
    case 's':
        return ConflictBehaviour::stop;
    default:
        return std::nullopt;
    }
}

} // namespace

void Question::ask(std::shared_ptr<ConflictResolver> resolver)
{
    resolver_ = std::move(resolver);
    show();
}

void Question::show() const
{
    draw_line(fmt::format("{} already exists. {}(r)eplace, (k)eep both or (s)top? ",
                          printable(resolver_->destination_url().path()),
                          resolver_->is_conflict_mergeable() ? "(m)erge, " : ""));
}

void Question::take_input()
{
    std::array<char, 1024> input{};
    const ssize_t length = ::read(STDIN_FILENO, input.data(), input.size());
    if (length < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (length <= 0) {
        end_line();
        stop();
        return;
    }
    typed_.append(input.data(), static_cast<std::size_t>(length));
    for (std::size_t end = 0; is_open() && (end = typed_.find('\n')) != std::string::npos;) {
        const std::string line = typed_.substr(0, end);
        typed_.erase(0, end + 1);
        take_line(line);
    }
}

void Question::take_line(std::string_view line)
{
    if (const auto behaviour = answer_in(line, resolver_->is_conflict_mergeable()))
        answer(*behaviour);
    else
        show();
}

void Question::stop()
{
    if (!is_open())
        return;
    end_line();
    answer(ConflictBehaviour::stop);
}

void Question::answer(ConflictBehaviour behaviour)
{
    std::exchange(resolver_, nullptr)->resume(behaviour, false);
}

} // namespace orv::app
