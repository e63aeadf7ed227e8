#include "utility/ExtendedAttributes.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <array>
#include <cerrno>

#include <linux/limits.h>
#include <sys/xattr.h>

namespace orv {
namespace {

std::string stored_name(std::string_view name)
{
    return std::string("user.").append(name);
}

/// The value `get` writes into its buffer. Nearly all values are short.
std::optional<std::string> value_from(FunctionRef<ssize_t(char* buffer, std::size_t size)> get)
{
    std::array<char, 256> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by get
    ssize_t size = get(buffer.data(), buffer.size());
    if (size >= 0)
        return std::string(buffer.data(), static_cast<std::size_t>(size));
    if (errno != ERANGE)
        return std::nullopt;

    std::string value(XATTR_SIZE_MAX, '\0');
    size = get(value.data(), value.size());
    if (size < 0)
        return std::nullopt;
    value.resize(static_cast<std::size_t>(size));
    return value;
}

} // namespace

std::optional<std::string> ext_attr(const Url& url, std::string_view name)
{
    const std::string stored = stored_name(name);
    return value_from([&](char* buffer, std::size_t size) {
        return ::lgetxattr(url.path().c_str(), stored.c_str(), buffer, size);
    });
}

std::optional<std::string> ext_attr(int fd, std::string_view name)
{
    const std::string stored = stored_name(name);
    auto value = value_from([&](char* buffer, std::size_t size) {
        return ::fgetxattr(fd, stored.c_str(), buffer, size);
    });
    if (value || errno != EBADF)
        return value;

    // The kernel reads no attribute through an `O_PATH` descriptor.
    const std::string place = "/proc/self/fd/" + std::to_string(fd);
    return value_from([&](char* buffer, std::size_t size) {
        return ::getxattr(place.c_str(), stored.c_str(), buffer, size);
    });
}

void set_ext_attr(const Url& url, std::string_view name, std::string_view value)
{
    if (::lsetxattr(url.path().c_str(), stored_name(name).c_str(), value.data(), value.size(), 0))
        throw platform_error(errno, url);
}

void remove_ext_attr(const Url& url, std::string_view name)
{
    if (::lremovexattr(url.path().c_str(), stored_name(name).c_str()) && errno != ENODATA)
        throw platform_error(errno, url);
}

} // namespace orv
