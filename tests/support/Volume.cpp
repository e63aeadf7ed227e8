#include "support/Volume.hpp"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <sys/mount.h>

namespace orv::test {

Volume::Volume() : url_(scratch_ / "volume")
{
    std::filesystem::create_directory(url_);
}

Volume::~Volume()
{
    ::umount2(url_.path().c_str(), MNT_DETACH);
}

std::unique_ptr<Volume> Volume::in_memory(int kibibytes)
{
    std::unique_ptr<Volume> volume(new Volume);
    const std::string options = "size=" + std::to_string(kibibytes) + "k";
    if (::mount("tmpfs", volume->url_.path().c_str(), "tmpfs", 0, options.c_str()) != 0)
        return nullptr;
    return volume;
}

std::unique_ptr<Volume> Volume::bound()
{
    std::unique_ptr<Volume> volume(new Volume);
    const char* path = volume->url_.path().c_str();
    if (::mount(path, path, nullptr, MS_BIND, nullptr) != 0)
        return nullptr;
    return volume;
}

std::unique_ptr<Volume> Volume::ext4(int mebibytes)
{
    std::unique_ptr<Volume> volume(new Volume);
    const std::string image = (volume->scratch_ / "image").path();
    const std::string command = "truncate -s " + std::to_string(mebibytes) + "M " + image +
                                " && mkfs.ext4 -qF " + image + " && mount -o loop " + image + " " +
                                volume->url_.path() + " 2>&1";
    if (std::system(command.c_str()) != 0)
        return nullptr;
    return volume;
}

} // namespace orv::test
