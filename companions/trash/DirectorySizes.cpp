#include "trash/DirectorySizes.hpp"

#include "files/PartialFile.hpp"
#include "files/ReadWrite.hpp"
#include "files/RenameOver.hpp"
#include "trash/SmallFile.hpp"
#include "utility/PercentEncoding.hpp"

#include <orv/utility/Error.hpp>

#include <exception>
#include <memory>
#include <sstream>

namespace orv {
namespace {

constexpr const char* file_name = "directorysizes";

std::string kept_sizes(const DestinationFolder& trash)
try {
    return small_file(trash, file_name).value_or("");
} catch (const Error&) {
    return {};
}

} // namespace

DirectorySizes::DirectorySizes(const DestinationFolder& trash) : trash_(trash)
{
    std::istringstream lines(kept_sizes(trash));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        Entry entry{};
        std::string name;
        if (words >> entry.size >> entry.info_time >> name)
            if (const auto decoded = percent_decoded(name))
                entries_.insert_or_assign(*decoded, entry);
    }
}

std::optional<std::int64_t> DirectorySizes::size_of(const std::string& name,
                                                    std::int64_t info_time) const
{
    const auto found = entries_.find(name);
    if (found == entries_.end() || found->second.info_time != info_time)
        return std::nullopt;
    return found->second.size;
}

void DirectorySizes::set(const std::string& name, std::int64_t info_time, std::int64_t size)
{
    entries_[name] = {size, info_time};
    is_changed_ = true;
}

void DirectorySizes::keep_only(const std::set<std::string>& names)
{
    const auto count =
        std::erase_if(entries_, [&](const auto& entry) { return !names.contains(entry.first); });
    is_changed_ |= count > 0;
}

std::string DirectorySizes::text() const
{
    std::ostringstream lines;
    for (const auto& [name, entry] : entries_)
        lines << entry.size << ' ' << entry.info_time << ' ' << percent_encoded(name, "-._~")
              << '\n';
    return lines.str();
}

void DirectorySizes::save() noexcept
try {
    if (!is_changed_)
        return;
    const auto name = std::make_shared<HiddenName>(trash_);
    const PartialFile file = PartialFile::hidden(name);
    write_all({file.fd(), trash_.url}, text(), 0);
    if (rename_over(trash_.fd, name->text().c_str(), trash_.fd, file_name) == 0)
        is_changed_ = false;
} catch (const std::exception&) {
    return;
}

} // namespace orv
