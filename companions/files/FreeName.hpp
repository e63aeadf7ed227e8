#pragma once

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

/// A location beside `from` without an item and outside `not_allowed_urls`: `from` itself if it is
/// free, else the first free one of "name 2.ext", "name 3.ext", …; "name 7.ext" goes on with 8. An
/// ending such as ".tar.gz" stays whole, the name of a folder is not split, and a name too long is
/// shortened.
///
/// No value for a location without a name, and if the folder is closed to the user.
///
/// Threading: any.
[[nodiscard]] std::optional<Url>
generate_non_conflicting_file_url(const Url& from, const std::vector<Url>& not_allowed_urls);

/// Numbers the names of any number of items in one folder. The ten-thousandth name costs no more
/// than the first.
class FreeNames {
public:
    /// How a number stands after a name: "name 2.ext" or "name (2).ext".
    enum class Numbers { plain, in_brackets };

    explicit FreeNames(Numbers numbers = Numbers::plain) : numbers_(numbers) {}

    /// Returns the first free one of the names `generate_non_conflicting_file_url` tries after
    /// `name`, the name of a folder or of another item. It is taken from then on; `is_taken` knows
    /// the others.
    [[nodiscard]] std::string next(std::string_view name, bool is_folder,
                                   FunctionRef<bool(const std::string& name)> is_taken);

private:
    using Successors = std::unordered_map<std::uint64_t, std::uint64_t>;

    Numbers numbers_;
    /// For each title and extension, a free number after each taken one.
    std::unordered_map<std::string, Successors> successors_;
};

} // namespace orv
