/// A file system that shows a folder, but lacks what it is told to lack, and counts its calls.
///
///     odd_volume FOLDER MOUNT_POINT [RULE...]
///
/// CALL=ERRNO        the call fails: a name in `operations`, or `renameat2` (a rename with flags),
///                   `open-both` (for reading and writing), `chmod-link`, `utimens-link`
/// any-case          names that differ in case only are one item, with one inode number for each
/// spelling restamp           every date that is set becomes now no-link-count     no item has a
/// link direct            nothing is cached, and no file can be mapped with write access die-at=N
/// the server ends instead of answering the N-th call detach-at=N       the volume is unmounted
/// lazily at the N-th call
///
/// The attribute `user.calls` of the root tells how often each call came since that attribute was
/// set, and `user.server` tells the number of the server's process.

#define FUSE_USE_VERSION 31

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <fuse.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr const char* calls_attribute = "user.calls";
constexpr const char* server_attribute = "user.server";

std::string root;
std::string mount_point;
std::map<std::string, int> codes;  ///< of the calls that fail
std::map<std::string, long> given; ///< the values of rules that have a number or none
std::map<std::string, long> calls;
long call_count = 0;
bool is_followed = false; ///< by a call that is none

bool has_rule(const char* rule)
{
    return given.contains(rule);
}

/// The library asks for the state of an item itself after it was made or changed; that is no call.
bool is_followed_by_getattr(const std::string& call)
{
    static const std::set<std::string> followed{"create", "mkdir", "mknod",   "symlink", "link",
                                                "chmod",  "chown", "utimens", "truncate"};
    return followed.contains(call);
}

/// Counts the call. The code that it is to fail with, or 0.
int refusal_of(const std::string& call)
{
    if (std::exchange(is_followed, false) && call == "getattr")
        return 0;
    ++calls[call];
    ++call_count;
    if (has_rule("die-at") && call_count == given["die-at"])
        ::_exit(1);
    if (has_rule("detach-at") && call_count == given["detach-at"])
        ::umount2(mount_point.c_str(), MNT_DETACH);
    const auto refused = codes.find(call);
    return refused == codes.end() ? 0 : refused->second;
}

/// The code of a special kind of call that is refused, or 0. Counts nothing.
int refusal_of_kind(bool is_of_kind, const char* kind)
{
    const auto refused = codes.find(kind);
    return is_of_kind && refused != codes.end() ? -refused->second : 0;
}

/// The name in `folder` that differs from `name` in case only, or else `name`.
std::string spelled_in(const std::string& folder, const std::string& name)
{
    std::string spelling = name;
    DIR* const entries = ::opendir(folder.c_str());
    while (const dirent* entry = entries ? ::readdir(entries) : nullptr)
        if (::strcasecmp(entry->d_name, name.c_str()) == 0)
            spelling = entry->d_name;
    if (entries)
        ::closedir(entries);
    return spelling;
}

std::string real(const char* path)
{
    if (!has_rule("any-case"))
        return root + path;
    std::string found = root;
    std::istringstream parts(path + 1);
    for (std::string part; std::getline(parts, part, '/');)
        found += "/" + spelled_in(found, part);
    return found;
}

int result_of(long result)
{
    return result < 0 ? -errno : static_cast<int>(result);
}

int file_of(const fuse_file_info* file)
{
    return static_cast<int>(file->fh);
}

int getattr(const char* path, struct stat* facts, fuse_file_info* file)
{
    const int result = file ? ::fstat(file_of(file), facts) : ::lstat(real(path).c_str(), facts);
    if (has_rule("no-link-count"))
        facts->st_nlink = 0;
    return result_of(result);
}

int readlink(const char* path, char* text, std::size_t size)
{
    const long length = ::readlink(real(path).c_str(), text, size - 1);
    if (length >= 0)
        text[length] = 0;
    return length < 0 ? -errno : 0;
}

int mknod(const char* path, mode_t mode, dev_t device)
{
    return result_of(::mknod(real(path).c_str(), mode, device));
}

int mkdir(const char* path, mode_t mode)
{
    return result_of(::mkdir(real(path).c_str(), mode));
}

int unlink(const char* path)
{
    return result_of(::unlink(real(path).c_str()));
}

int rmdir(const char* path)
{
    return result_of(::rmdir(real(path).c_str()));
}

int symlink(const char* text, const char* path)
{
    return result_of(::symlink(text, real(path).c_str()));
}

int rename(const char* from, const char* to, unsigned flags)
{
    if (const int code = refusal_of_kind(flags != 0, "renameat2"))
        return code;
    const std::string source = real(from);
    std::string target = real(to);
    if (target == source && std::strcmp(from, to) != 0) { // the case alone changes
        target = target.substr(0, target.rfind('/')) + std::strrchr(to, '/');
        flags = 0;
    }
    return result_of(::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), flags));
}

int link(const char* from, const char* to)
{
    return result_of(::link(real(from).c_str(), real(to).c_str()));
}

bool is_link(const char* path)
{
    struct stat facts {};
    return ::lstat(real(path).c_str(), &facts) == 0 && S_ISLNK(facts.st_mode);
}

int chmod(const char* path, mode_t mode, fuse_file_info*)
{
    if (const int code = refusal_of_kind(is_link(path), "chmod-link"))
        return code;
    return result_of(::chmod(real(path).c_str(), mode));
}

int chown(const char* path, uid_t user, gid_t group, fuse_file_info*)
{
    return result_of(::lchown(real(path).c_str(), user, group));
}

int truncate(const char* path, off_t size, fuse_file_info*)
{
    return result_of(::truncate(real(path).c_str(), size));
}

int utimens(const char* path, const timespec* times, fuse_file_info*)
{
    if (const int code = refusal_of_kind(is_link(path), "utimens-link"))
        return code;
    return result_of(::utimensat(AT_FDCWD, real(path).c_str(),
                                 has_rule("restamp") ? nullptr : times, AT_SYMLINK_NOFOLLOW));
}

int opened(int fd, fuse_file_info* file)
{
    file->fh = static_cast<std::uint64_t>(fd);
    file->direct_io = has_rule("direct") ? 1 : 0;
    return fd < 0 ? -errno : 0;
}

int open(const char* path, fuse_file_info* file)
{
    if (const int code = refusal_of_kind((file->flags & O_ACCMODE) == O_RDWR, "open-both"))
        return code;
    return opened(::open(real(path).c_str(), file->flags), file);
}

int create(const char* path, mode_t mode, fuse_file_info* file)
{
    if (const int code = refusal_of_kind((file->flags & O_ACCMODE) == O_RDWR, "open-both"))
        return code;
    return opened(::open(real(path).c_str(), file->flags | O_CREAT, mode), file);
}

int read(const char*, char* to, std::size_t size, off_t at, fuse_file_info* file)
{
    return result_of(::pread(file_of(file), to, size, at));
}

int write(const char*, const char* from, std::size_t size, off_t at, fuse_file_info* file)
{
    return result_of(::pwrite(file_of(file), from, size, at));
}

int statfs(const char* path, struct statvfs* facts)
{
    return result_of(::statvfs(real(path).c_str(), facts));
}

int flush(const char*, fuse_file_info*)
{
    return 0;
}

int release(const char*, fuse_file_info* file)
{
    return result_of(::close(file_of(file)));
}

int fsync(const char*, int, fuse_file_info* file)
{
    return result_of(::fsync(file_of(file)));
}

int fsyncdir(const char*, int, fuse_file_info*)
{
    return 0;
}

int setxattr(const char* path, const char* name, const char* value, std::size_t size, int flags)
{
    if (std::strcmp(name, calls_attribute) == 0) {
        calls.clear();
        return 0;
    }
    return result_of(::lsetxattr(real(path).c_str(), name, value, size, flags));
}

int getxattr(const char* path, const char* name, char* value, std::size_t size)
{
    std::string told;
    if (std::strcmp(name, server_attribute) == 0)
        told = std::to_string(::getpid());
    else if (std::strcmp(name, calls_attribute) != 0)
        return result_of(::lgetxattr(real(path).c_str(), name, value, size));
    else
        for (const auto& [call, count] : calls)
            told += call + " " + std::to_string(count) + "\n";
    if (size != 0 && size < told.size())
        return -ERANGE;
    told.copy(value, size);
    return static_cast<int>(told.size());
}

int listxattr(const char* path, char* names, std::size_t size)
{
    return result_of(::llistxattr(real(path).c_str(), names, size));
}

int removexattr(const char* path, const char* name)
{
    return result_of(::lremovexattr(real(path).c_str(), name));
}

int readdir(const char* path, void* buffer, fuse_fill_dir_t fill, off_t, fuse_file_info*,
            fuse_readdir_flags)
{
    DIR* const entries = ::opendir(real(path).c_str());
    if (!entries)
        return -errno;
    while (const dirent* entry = ::readdir(entries)) {
        struct stat facts {};
        facts.st_ino = entry->d_ino;
        facts.st_mode = DTTOIF(entry->d_type);
        fill(buffer, entry->d_name, &facts, 0, fuse_fill_dir_flags{});
    }
    return -::closedir(entries);
}

off_t lseek(const char*, off_t at, int whence, fuse_file_info* file)
{
    const off_t found = ::lseek(file_of(file), at, whence);
    return found < 0 ? -errno : found;
}

/// A call's name, as a template argument.
template <std::size_t size>
struct Name {
    char text[size];
    constexpr Name(const char (&name)[size]) { std::copy_n(name, size, text); }
};

template <Name name, auto call>
struct Watched;

template <Name name, typename Result, typename... Arguments, Result (*call)(Arguments...)>
struct Watched<name, call> {
    static Result run(Arguments... arguments)
    {
        const int code = refusal_of(name.text);
        const Result result = code != 0 ? -code : call(arguments...);
        is_followed = result >= 0 && is_followed_by_getattr(name.text);
        return result;
    }
};

fuse_operations operations()
{
    fuse_operations all{};
    all.getattr = Watched<"getattr", getattr>::run;
    all.readlink = Watched<"readlink", readlink>::run;
    all.mknod = Watched<"mknod", mknod>::run;
    all.mkdir = Watched<"mkdir", mkdir>::run;
    all.unlink = Watched<"unlink", unlink>::run;
    all.rmdir = Watched<"rmdir", rmdir>::run;
    all.symlink = Watched<"symlink", symlink>::run;
    all.rename = Watched<"rename", rename>::run;
    all.link = Watched<"link", link>::run;
    all.chmod = Watched<"chmod", chmod>::run;
    all.chown = Watched<"chown", chown>::run;
    all.truncate = Watched<"truncate", truncate>::run;
    all.utimens = Watched<"utimens", utimens>::run;
    all.open = Watched<"open", open>::run;
    all.create = Watched<"create", create>::run;
    all.read = Watched<"read", read>::run;
    all.write = Watched<"write", write>::run;
    all.statfs = Watched<"statfs", statfs>::run;
    all.flush = Watched<"flush", flush>::run;
    all.release = Watched<"release", release>::run;
    all.fsync = Watched<"fsync", fsync>::run;
    all.fsyncdir = Watched<"fsyncdir", fsyncdir>::run;
    all.setxattr = Watched<"setxattr", setxattr>::run;
    all.getxattr = Watched<"getxattr", getxattr>::run;
    all.listxattr = Watched<"listxattr", listxattr>::run;
    all.removexattr = Watched<"removexattr", removexattr>::run;
    all.readdir = Watched<"readdir", readdir>::run;
    all.lseek = Watched<"lseek", lseek>::run;
    return all;
}

/// The errno of that name; 0 for a name that is none.
int code_called(const std::string& name)
{
    for (int code = 1; code < 200; ++code)
        if (const char* const known = ::strerrorname_np(code); known && name == known)
            return code;
    return 0;
}

void learn_rule(const std::string& rule)
{
    const auto equals = rule.find('=');
    const std::string name = rule.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : rule.substr(equals + 1);
    if (const int code = code_called(value))
        codes[name] = code;
    else
        given[name] = value.empty() ? 1 : std::stol(value);
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 3) {
        std::cerr << "odd_volume FOLDER MOUNT_POINT [RULE...]\n";
        return 2;
    }
    root = arguments[1];
    mount_point = arguments[2];
    std::for_each(arguments + 3, arguments + count, learn_rule);
    ::umask(0);
    const fuse_operations all = operations();
    std::vector<std::string> words{"odd_volume", "-s", "-o", "fsname=odd", mount_point};
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    return fuse_main(static_cast<int>(pointers.size()), pointers.data(), &all, nullptr);
}
