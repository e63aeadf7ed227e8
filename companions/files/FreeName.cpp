#include "files/FreeName.hpp"

#include "files/ItemStatus.hpp"
#include "files/Place.hpp"
#include "utility/FileNames.hpp"
#include "utility/Text.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

// A longer ending, or one with a space in it, is part of a sentence ("1. Introduction"), not the
// kind of the file.
constexpr std::size_t max_ending_size = 64;

// More digits are no count but a date or a serial number.
constexpr std::size_t max_digits = 9;

/// A name prepared for counting: "photo 7.tar.gz" is "photo", 7 and ".tar.gz".
struct CountedName {
    std::string_view stem;
    std::uint64_t number;
    std::string_view ending;
};

enum class State { taken, free, unknown };

State look_at(const Url& url)
try {
    const Place place = Place::of(url);
    struct stat status {};
    if (::fstatat(place.folder(), place.name(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        return State::taken;
    return errno == ENOENT ? State::free : State::unknown;
} catch (const Error&) {
    return State::unknown;
}

bool is_one_of(std::string_view ext, const auto& list)
{
    return std::any_of(list.begin(), list.end(), [&](std::string_view other) {
        return compare_case_insensitively(ext, other) == 0;
    });
}

/// Where the ending of `name` begins, with its dot; at the end if it has none.
std::size_t ending_start(std::string_view name)
{
    static constexpr std::array<std::string_view, 10> compressors{"gz",  "bz2",  "xz",  "zst", "lz",
                                                                  "lz4", "lzma", "lzo", "br",  "z"};
    static constexpr std::array<std::string_view, 2> bundlers{"tar", "cpio"};

    const NameParts outer = name_parts(name);
    const std::size_t ending_size = name.size() - outer.title.size();
    if (ending_size > max_ending_size || outer.ext.find(' ') != std::string_view::npos)
        return name.size();
    const NameParts inner = name_parts(outer.title);
    if (is_one_of(outer.ext, compressors) && is_one_of(inner.ext, bundlers))
        return inner.title.size();
    return outer.title.size();
}

using Numbers = FreeNames::Numbers;

CountedName counted_name(std::string_view name, bool is_whole, Numbers numbers = Numbers::plain)
{
    const std::size_t start = is_whole ? name.size() : ending_start(name);
    const CountedName uncounted{name.substr(0, start), 1, name.substr(start)};

    const std::size_t space = uncounted.stem.rfind(' ');
    if (space == std::string_view::npos || space == 0)
        return uncounted;
    std::string_view digits = uncounted.stem.substr(space + 1);
    if (numbers == Numbers::in_brackets) {
        if (digits.size() < 2 || digits.front() != '(' || digits.back() != ')')
            return uncounted;
        digits = digits.substr(1, digits.size() - 2);
    }
    if (digits.empty() || digits.size() > max_digits || digits.front() == '0')
        return uncounted;
    std::uint64_t number = 0;
    const char* end = digits.data() + digits.size();
    if (std::from_chars(digits.data(), end, number).ptr != end)
        return uncounted;
    return {uncounted.stem.substr(0, space), number, uncounted.ending};
}

std::string name_with_number(const CountedName& name, std::uint64_t number,
                             Numbers numbers = Numbers::plain)
{
    const std::string digits = std::to_string(number);
    std::string ending = numbers == Numbers::plain ? " " + digits : " (" + digits + ")";
    ending += name.ending;
    std::string result(fitting_prefix(name.stem, max_name_size - ending.size()));
    return result += ending;
}

} // namespace

std::optional<Url> generate_non_conflicting_file_url(const Url& from,
                                                     const std::vector<Url>& not_allowed_urls)
{
    const std::string name = from.last_path_component();
    if (name.empty() || name == "/" || name == "." || name == "..")
        return std::nullopt;

    std::unordered_set<Url> not_allowed;
    for (const Url& url : not_allowed_urls)
        not_allowed.insert(url.standardized());

    const Url folder = from.deleting_last_path_component();
    const CountedName counted = counted_name(name, is_directory(from));
    Url candidate = name.size() > max_name_size
                        ? folder.appending(name_with_number(counted, counted.number + 1))
                        : from;
    for (std::uint64_t number = counted.number + 1;; ++number) {
        const State state = look_at(candidate);
        if (state == State::unknown)
            return std::nullopt;
        if (state == State::free && !not_allowed.contains(candidate.standardized()))
            return candidate;
        candidate = folder.appending(name_with_number(counted, number));
    }
}

std::string FreeNames::next(std::string_view name, bool is_folder,
                            FunctionRef<bool(const std::string& name)> is_taken)
{
    const CountedName counted = counted_name(name, is_folder, numbers_);
    std::string key(counted.stem);
    key.append(1, '/').append(counted.ending);
    Successors& successors = successors_[key];

    std::vector<std::uint64_t> passed;
    std::uint64_t number = counted.number + 1;
    std::string candidate;
    for (;;) {
        passed.push_back(number);
        const auto successor = successors.find(number);
        if (successor == successors.end()) {
            candidate = name_with_number(counted, number, numbers_);
            if (!is_taken(candidate))
                break;
        }
        number = successor == successors.end() ? number + 1 : successor->second;
    }
    for (const std::uint64_t taken : passed)
        successors[taken] = number + 1;
    return candidate;
}

} // namespace orv
