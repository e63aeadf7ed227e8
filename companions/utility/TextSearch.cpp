#include "utility/TextSearch.hpp"

#include "utility/Utf8.hpp"

#include <algorithm>

namespace orv {
namespace {

constexpr std::size_t max_bytes_of_character = 4;
constexpr std::size_t max_bytes_of_marks = 1024;
/// The size to fold at once around a single place in doubt: more places may be near.
constexpr std::size_t doubtful_stretch = 1024;
/// The size to fold at once without a look at single places. Longer rows of marks take too long to
/// sort.
constexpr std::size_t folded_stretch = 4096;
/// With more comparisons than this for each byte, folding the text is faster.
constexpr std::size_t fair_steps = 16;
constexpr std::size_t fair_start = 4096;

ByteScan scan_for(const std::vector<AnchorForm>& anchor)
{
    std::vector<BytePair> pairs;
    pairs.reserve(anchor.size());
    for (const AnchorForm& form : anchor)
        pairs.push_back(form.bytes);
    return ByteScan(pairs);
}

/// A character of a text folds to one at least; only an i and its dot fold to one together.
std::size_t most_bytes(const FoldedKeyword& keyword)
{
    return keyword.text().size() * max_bytes_of_character * (keyword.rules().turkic ? 2 : 1);
}

bool can_cut_at(std::string_view text, std::size_t at)
{
    if (at >= text.size())
        return true;
    const UChar32 c = character_at(text, at).code_point;
    return c < 0 || begins_composed(static_cast<char32_t>(c));
}

} // namespace

TextSearch::TextSearch(std::string_view keyword, FoldingRules rules)
    : keyword_(keyword, rules), anchor_(rarest_anchor(keyword_)), scan_(scan_for(anchor_)),
      reach_(most_bytes(keyword_))
{
}

bool TextSearch::found_in(std::string_view text, FunctionRef<void()> check) const
{
    if (keyword_.text().empty())
        return false;
    if (anchor_.empty())
        return found_by_folding(text, 0, text.size(), check);
    std::size_t steps = 0;
    for (std::size_t at = scan_.next(text, 0); at < text.size(); at = scan_.next(text, at + 1)) {
        const FoldedKeyword::Verdict verdict = verdict_at(text, at, steps);
        if (verdict == FoldedKeyword::Verdict::yes)
            return true;
        if (steps > (at + fair_start) * fair_steps)
            return found_by_folding(text, at, text.size(), check);
        if (verdict == FoldedKeyword::Verdict::no)
            continue;
        const std::size_t end = at + std::max(doubtful_stretch, reach_);
        if (found_by_folding(text, at, end + reach_, check))
            return true;
        at = std::min(end, text.size() - 1);
    }
    return false;
}

/// True if the keyword stands in `text` and ends after `from` and not after `to`, or a little
/// later.
bool TextSearch::found_by_folding(std::string_view text, std::size_t from, std::size_t to,
                                  FunctionRef<void()> check) const
{
    const std::size_t stretch = std::max(folded_stretch, reach_);
    while (from < std::min(to, text.size())) {
        check();
        const std::size_t begin = cut_before(text, from - std::min(from, reach_));
        const std::size_t end = cut_after(text, std::min(from + stretch, to));
        if (keyword_.stands_in_folded(text.substr(begin, end - begin)))
            return true;
        from = end;
    }
    return false;
}

FoldedKeyword::Verdict TextSearch::verdict_at(std::string_view text, std::size_t place,
                                              std::size_t& steps) const
{
    const auto first = static_cast<std::uint8_t>(text[place]);
    const auto second =
        place + 1 < text.size() ? static_cast<std::uint8_t>(text[place + 1]) : std::uint8_t{0};
    auto result = FoldedKeyword::Verdict::no;
    for (const AnchorForm& form : anchor_)
        if (form.bytes.first.matches(first) && form.bytes.second.matches(second) &&
            form.bytes_before <= place && result != FoldedKeyword::Verdict::yes)
            result = std::max(result,
                              keyword_.verdict(text, place - form.bytes_before, form.index, steps));
    return result;
}

std::size_t TextSearch::cut_before(std::string_view text, std::size_t at) const
{
    if (at >= text.size())
        return text.size();
    while (!begins_character(text, at))
        --at;
    const std::size_t limit = at - std::min(at, max_bytes_of_marks);
    std::size_t cut = at;
    while (cut > limit && !can_cut_at(text, cut))
        cut = character_before(text, cut).begin;
    return can_cut_at(text, cut) || cut == 0 ? cut : at;
}

std::size_t TextSearch::cut_after(std::string_view text, std::size_t at) const
{
    if (at >= text.size())
        return text.size();
    while (!begins_character(text, at))
        ++at;
    const std::size_t limit = std::min(text.size(), at + max_bytes_of_marks);
    std::size_t cut = at;
    while (cut < limit && !can_cut_at(text, cut))
        cut = character_at(text, cut).end;
    return can_cut_at(text, cut) ? cut : at;
}

} // namespace orv
