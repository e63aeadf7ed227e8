#include "Workplace.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>

namespace orv::bench {
namespace {

void check_space(const std::string& folder, std::int64_t needed_bytes)
{
    const std::uintmax_t free_bytes = std::filesystem::space(folder).available;
    if (free_bytes < static_cast<std::uintmax_t>(needed_bytes))
        throw Error(fmt::format("{} has {} MB free, but {} MB are needed; choose another folder "
                                "with --dir or --other-dir.",
                                folder, free_bytes / 1'000'000, needed_bytes / 1'000'000));
}

void set_environment(const std::string& home)
{
    std::filesystem::create_directory(home);
    ::setenv("HOME", home.c_str(), 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    for (const char* name : {"XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"})
        ::unsetenv(name);
}

} // namespace

ScratchFolder::ScratchFolder(const std::string& folder, std::int64_t needed_bytes)
{
    const std::string parent = std::filesystem::absolute(folder).string();
    std::filesystem::create_directories(parent);
    check_space(parent, needed_bytes);
    path_ = parent + "/run.XXXXXX";
    if (!::mkdtemp(path_.data()))
        throw platform_error(errno, parent);
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Workplace::Workplace(const std::string& folder, std::int64_t needed_bytes)
    : folder_(folder, needed_bytes)
{
    set_environment(folder_.path() + "/home");
}

} // namespace orv::bench
