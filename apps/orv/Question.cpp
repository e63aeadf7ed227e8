#include "Question.hpp"

#include "Terminal.hpp"

#include <array>
#include <cctype>
#include <cerrno>
#include <sstream>
#include <utility>
#include <vector>

#include <unistd.h>

namespace orv::app {
namespace {

std::vector<std::string> lower_case_words(const std::string& line)
{
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word; words.push_back(word))
        for (char& c : word)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return words;
}

} // namespace

void Question::ask(std::string text, std::function<bool(const std::string& line)> take_line,
                   std::function<void()> stop)
{
    text_ = std::move(text);
    take_line_ = std::move(take_line);
    stop_ = std::move(stop);
    show();
}

void Question::show() const
{
    draw_line(text_);
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
    // The answer may bring the next question, so this one ends before its answer.
    const auto take = std::exchange(take_line_, nullptr);
    auto stop = std::exchange(stop_, nullptr);
    if (take(line))
        return;
    take_line_ = take;
    stop_ = std::move(stop);
    show();
}

void Question::stop()
{
    if (!is_open())
        return;
    end_line();
    take_line_ = nullptr;
    std::exchange(stop_, nullptr)();
}

TypedAnswer typed_answer(const std::string& line)
{
    const std::vector<std::string> words = lower_case_words(line);
    if (words.empty())
        return {0, false};
    return {words.front().front(), words.back() == "all"};
}

} // namespace orv::app
