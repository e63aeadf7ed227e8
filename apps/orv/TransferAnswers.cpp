#include "TransferAnswers.hpp"

#include "Failure.hpp"
#include "HumanText.hpp"
#include "Terminal.hpp"
#include "Text.hpp"

#include <optional>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace orv::app {
namespace {

using About = TransferQuestion::About;
using Answer = TransferQuestion::Answer;

std::optional<Answer> answer_of(char letter, About about)
{
    switch (letter) {
    case 'm':
        return Answer::merge;
    case 'r':
        return Answer::replace;
    case 'k':
        return Answer::keep_both;
    case 't':
        return about == About::failed_item ? std::optional(Answer::retry) : std::nullopt;
    case 'g':
        return about == About::problems ? std::optional(Answer::retry) : std::nullopt;
    case 'l':
        return Answer::skip;
    case 's':
        return Answer::stop;
    default:
        return std::nullopt;
    }
}

/// Such as "5 B, 2024-07-02 21:40" or "folder, 2024-07-02 21:40".
std::string described(const FileItem& item)
{
    std::string text = item.is_dir ? "folder"
                       : item.size ? human_size(static_cast<double>(*item.size))
                                   : "link";
    if (item.modification_date)
        text += ", " + local_date(*item.modification_date);
    return text;
}

void show_both_sides(const TransferQuestion& about)
{
    erase_line();
    write_message(fmt::format("  there: {}\n  new:   {}\n", described(*about.destination()),
                              described(about.source())));
}

std::string text_of(const TransferQuestion& about, bool of_many)
{
    const std::string all = of_many ? "With \"all\" after it, for all that follow: " : "";
    switch (about.about()) {
    case About::taken_name:
        return fmt::format("{} already exists. {}(r)eplace, (k)eep both, (l)eave out or (s)top? {}",
                           printable(about.destination()->url.path()),
                           about.allows(Answer::merge) ? "(m)erge, " : "", all);
    case About::failed_item:
        return "(t)ry again, (l)eave out or (s)top? " + all;
    case About::problems:
        break;
    }
    return "(g)o on all the same, (l)eave them out or (s)top? ";
}

void show_reasons(const TransferQuestion& about)
{
    switch (about.about()) {
    case About::taken_name:
        return show_both_sides(about);
    case About::failed_item:
        return print_failure(told_of(about.source().url, *about.error()));
    case About::problems:
        for (const TransferProblem& problem : about.problems())
            print_failure(told_of(problem.item, problem.error));
    }
}

} // namespace

void TransferAnswers::ask(const std::shared_ptr<TransferQuestion>& about)
{
    show_reasons(*about);
    const auto take_line = [about](const std::string& line) {
        const TypedAnswer typed = typed_answer(line);
        const auto answer = answer_of(typed.letter, about->about());
        if (!answer || !about->allows(*answer))
            return false;
        about->answer(*answer, typed.for_all);
        return true;
    };
    question_.ask(text_of(*about, of_many_), take_line, [about] { about->answer(Answer::stop); });
}

} // namespace orv::app
