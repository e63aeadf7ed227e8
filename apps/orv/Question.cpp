#include "Question.hpp"

#include "Terminal.hpp"
#include "Text.hpp"

#include <array>
#include <cctype>
#include <cerrno>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <unistd.h>

namespace orv::app {
namespace {

struct Answer {
    ConflictBehaviour behaviour;
    bool for_all;
};

std::optional<ConflictBehaviour> behaviour_of(char letter, bool is_mergeable)
{
    switch (letter) {
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

std::vector<std::string> lower_case_words(const std::string& line)
{
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word; words.push_back(word))
        for (char& c : word)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return words;
}

/// The answer that the first letter of `line` stands for; with "all" as its last word, for all.
std::optional<Answer> answer_in(const std::string& line, const ConflictResolver& conflict)
{
    const std::vector<std::string> words = lower_case_words(line);
    if (words.empty())
        return std::nullopt;
    const auto behaviour = behaviour_of(words.front().front(), conflict.is_conflict_mergeable());
    if (!behaviour)
        return std::nullopt;
    return Answer{*behaviour, conflict.more_conflicts_exist() && words.back() == "all"};
}

} // namespace

void Question::ask(std::shared_ptr<ConflictResolver> resolver)
{
    resolver_ = std::move(resolver);
    show();
}

void Question::show() const
{
    draw_line(fmt::format(
        "{} already exists. {}(r)eplace, (k)eep both or (s)top?{} ",
        printable(resolver_->destination_url().path()),
        resolver_->is_conflict_mergeable() ? "(m)erge, " : "",
        resolver_->more_conflicts_exist() ? " With \"all\" after it, for all that follow:" : ""));
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

void Question::take_line(const std::string& line)
{
    if (const auto given = answer_in(line, *resolver_))
        answer(given->behaviour, given->for_all);
    else
        show();
}

void Question::stop()
{
    if (!is_open())
        return;
    end_line();
    answer(ConflictBehaviour::stop, false);
}

void Question::answer(ConflictBehaviour behaviour, bool for_all)
{
    std::exchange(resolver_, nullptr)->resume(behaviour, for_all);
}

} // namespace orv::app
