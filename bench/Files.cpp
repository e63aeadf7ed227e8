#include "Files.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace orv::bench {

std::string_view RandomBytes::next()
{
    for (std::size_t at = 0; at + sizeof(std::uint64_t) <= bytes_.size();
         at += sizeof(std::uint64_t)) {
        const std::uint64_t random = engine_();
        std::memcpy(bytes_.data() + at, &random, sizeof random);
    }
    return bytes_;
}

FileDescriptor make_folder(const std::string& path)
{
    if (::mkdir(path.c_str(), S_IRWXU) != 0)
        throw platform_error(errno, path);
    FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        throw platform_error(errno, path);
    return folder;
}

FileDescriptor make_file(int folder, const std::string& name)
{
    FileDescriptor file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR | S_IRGRP));
    if (!file)
        throw platform_error(errno, name);
    return file;
}

void make_sparse_file(int folder, const std::string& name, std::int64_t bytes)
{
    const FileDescriptor file = make_file(folder, name);
    if (::ftruncate(file.get(), bytes) != 0)
        throw platform_error(errno, name);
}

void write_all(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0)
            throw platform_error(errno, Url());
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void write_all_at(int file, std::string_view bytes, std::int64_t position)
{
    if (::lseek(file, position, SEEK_SET) < 0)
        throw platform_error(errno, Url());
    write_all(file, bytes);
}

void settle(const std::string& path)
{
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::syncfs(folder.get()) != 0)
        throw platform_error(errno, path);
}

} // namespace orv::bench
