#include "utility/FileNames.hpp"
#include "utility/PercentEncoding.hpp"
#include "utility/Text.hpp"

#include <orv/utility/Url.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

// As many links as the kernel itself follows in one path.
constexpr int max_links = 40;

std::string without_trailing_slashes(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::string joined(const std::string& folder, std::string_view name)
{
    std::string path;
    path.reserve(folder.size() + 1 + name.size());
    path = folder;
    if (path.empty() || path.back() != '/')
        path += '/';
    return path.append(name);
}

std::string_view last_name(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

std::optional<std::string> real_path(const std::string& path)
{
    if (path.size() >= PATH_MAX) { // found out by asking the disk for every name on the way
        errno = ENAMETOOLONG;
        return std::nullopt;
    }
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                               &std::free);
    if (!resolved)
        return std::nullopt;
    return std::string(resolved.get());
}

std::optional<std::string> link_text(const std::string& path)
{
    std::array<char, PATH_MAX> text{};
    const ssize_t length = ::readlink(path.c_str(), text.data(), text.size());
    if (length < 0)
        return std::nullopt;
    return std::string(text.data(), static_cast<std::size_t>(length));
}

/// Resolves the existing part of `path`; the rest stays as it is.
std::optional<std::string> resolved(const std::string& path, int& links_left)
{
    if (auto real = real_path(path))
        return real;
    if (path == "/" || errno == ELOOP)
        return std::nullopt;

    const Url url(path);
    const auto folder = resolved(url.deleting_last_path_component().path(), links_left);
    if (!folder)
        return std::nullopt;
    const std::string place = joined(*folder, url.last_path_component());
    const auto target = link_text(place);
    if (!target)
        return Url(place).standardized().path();
    if (links_left-- == 0)
        return std::nullopt;
    return resolved(target->starts_with('/') ? *target : joined(*folder, *target), links_left);
}

} // namespace

Url::Url(std::string_view path)
{
    if (path.empty() || path.find('\0') != std::string_view::npos)
        return;
    if (path.front() == '/') {
        path_ = without_trailing_slashes(std::string(path));
        return;
    }
    std::error_code error;
    const std::filesystem::path here = std::filesystem::current_path(error);
    if (!error)
        path_ = without_trailing_slashes(joined(here.native(), path));
}

Url Url::standardized() const
{
    Url result;
    std::size_t start = 0;
    while (start < path_.size()) {
        const std::size_t end = std::min(path_.find('/', start), path_.size());
        const std::string_view name(path_.data() + start, end - start);
        if (name == "..")
            result.path_.resize(result.path_.empty() ? 0 : result.path_.rfind('/'));
        else if (!name.empty() && name != ".")
            result.path_.append("/").append(name);
        start = end + 1;
    }
    if (result.path_.empty() && !path_.empty())
        result.path_ = "/";
    return result;
}

Url Url::resolving_symlinks() const
{
    if (path_.empty())
        return *this;
    int links_left = max_links;
    auto path = resolved(path_, links_left);
    return path ? Url(*path) : standardized();
}

std::vector<std::string> Url::components() const
{
    std::vector<std::string> names;
    if (path_.empty())
        return names;
    names.emplace_back("/");
    std::size_t start = 1;
    while (start < path_.size()) {
        const std::size_t end = std::min(path_.find('/', start), path_.size());
        if (end > start)
            names.push_back(path_.substr(start, end - start));
        start = end + 1;
    }
    return names;
}

std::string Url::last_path_component() const
{
    return path_ == "/" ? path_ : std::string(last_name(path_));
}

std::string Url::path_extension() const
{
    return std::string(name_parts(last_name(path_)).ext);
}

Url Url::deleting_path_extension() const
{
    Url result = *this;
    const std::string_view name = last_name(path_);
    result.path_.resize(path_.size() - name.size() + name_parts(name).title.size());
    return result;
}

Url Url::appending(std::string_view name) const
{
    while (name.starts_with('/'))
        name.remove_prefix(1);
    if (name.empty())
        return *this;
    Url result;
    if (path_.empty() || name.find('\0') != std::string_view::npos)
        return result;
    result.path_ = without_trailing_slashes(joined(path_, name));
    return result;
}

Url Url::deleting_last_path_component() const
{
    Url result = *this;
    if (!path_.empty())
        result.path_.resize(std::max<std::size_t>(1, path_.rfind('/')));
    result.path_ = without_trailing_slashes(std::move(result.path_));
    return result;
}

std::string Url::description() const
{
    return "file://" + percent_encoded(path_, "-._~!$&'()*+,;=:@/");
}

std::optional<Url> Url::from_uri(std::string_view uri)
{
    constexpr std::string_view scheme = "file:";
    if (lower_case(uri.substr(0, scheme.size())) != scheme)
        return std::nullopt;
    std::string_view path = uri.substr(scheme.size());
    if (path.starts_with("//")) { // the name of a computer follows
        path.remove_prefix(2);
        const std::string_view host = path.substr(0, path.find('/'));
        if (!host.empty() && lower_case(host) != "localhost")
            return std::nullopt;
        path.remove_prefix(host.size());
    }
    const auto decoded = percent_decoded(path.substr(0, path.find_first_of("?#")));
    if (!decoded || !decoded->starts_with('/'))
        return std::nullopt;
    Url url(*decoded);
    return url.empty() ? std::nullopt : std::optional(std::move(url));
}

std::optional<std::string> relative_path(const Url& url, const Url& base)
{
    const std::string path = url.standardized().path();
    std::string folder = base.standardized().path();
    if (folder.empty() || path.empty())
        return std::nullopt;
    if (path == folder)
        return std::string();
    if (folder != "/")
        folder += '/';
    if (!path.starts_with(folder))
        return std::nullopt;
    return path.substr(folder.size());
}

} // namespace orv
