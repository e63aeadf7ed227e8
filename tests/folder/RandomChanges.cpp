#include "folder/RandomChanges.hpp"

#include <cstdio>

#include <fcntl.h>
#include <linux/fs.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::test {
namespace {

void write_some(const std::string& path, int bytes)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (file < 0)
        return;
    const std::string content(static_cast<std::size_t>(bytes), 'x');
    static_cast<void>(::ftruncate(file, 0));
    static_cast<void>(::write(file, content.data(), content.size()));
    ::close(file);
}

} // namespace

void RandomChanges::make_one()
{
    const std::string one = path();
    const std::string other = path();
    switch (number(10)) {
    case 0:
    case 1:
    case 2:
        return write_some(one, number(100));
    case 3:
        static_cast<void>(::mkdir(one.c_str(), 0755));
        return;
    case 4:
    case 5:
        static_cast<void>(std::remove(one.c_str()));
        return;
    case 6:
    case 7:
        static_cast<void>(::rename(one.c_str(), other.c_str()));
        return;
    case 8:
        if (number(2) == 0)
            static_cast<void>(
                ::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE));
        else
            static_cast<void>(::link(one.c_str(), other.c_str()));
        return;
    default:
        return save_by_replacing();
    }
}

int RandomChanges::number(int below)
{
    return std::uniform_int_distribution<int>(0, below - 1)(random_);
}

/// One of some names, which differ in case, in their ending and in being hidden.
std::string RandomChanges::path()
{
    static const char* const endings[] = {"", ".txt", ".TXT", ".b"};
    const int name = number(200);
    return folder_.path() + "/" + (number(15) == 0 ? "." : "") + (number(2) == 0 ? "n" : "N") +
           std::to_string(name) + endings[name % 4];
}

void RandomChanges::save_by_replacing()
{
    const std::string saved = path();
    const std::string temporary = saved + ".tmp";
    write_some(temporary, number(100));
    if (::rename(temporary.c_str(), saved.c_str()) != 0)
        static_cast<void>(::unlink(temporary.c_str()));
}

} // namespace orv::test
