#include "faults/VolumeKinds.hpp"

#include "faults/Mount.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <sys/mount.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

/// A real daemon answers each connection over a pipe: no port is taken, and none is left running.
VolumeKind sshfs(const std::string& name, const std::string& server)
{
    return {.name = name,
            .mount =
                "mkdir -p /run/sshd && ssh-keygen -q -t ed25519 -N '' -f $SPARE/key && "
                "printf 'HostKey %s/key\\nAuthorizedKeysFile %s/key.pub\\nStrictModes no\\n"
                "UsePAM no\\nPermitRootLogin yes\\nSubsystem sftp " +
                server +
                "\\n' $SPARE $SPARE > $SPARE/sshd && "
                "sshfs -o \"ProxyCommand=/usr/sbin/sshd -i -f $SPARE/sshd\" "
                "-o IdentityFile=$SPARE/key -o StrictHostKeyChecking=no "
                "-o UserKnownHostsFile=/dev/null -o LogLevel=ERROR root@localhost:$SEED $MOUNT",
            .programs = {"sshfs", "sshd"}};
}

std::string odd(const std::string& rules)
{
    return std::string(ORV_ODD_VOLUME) + " $SEED $MOUNT " + rules;
}

VolumeKind rclone(const std::string& mode)
{
    return {.name = "rclone, cache " + mode,
            .mount = "HOME=$SPARE rclone mount $SEED $MOUNT --daemon --config /dev/null "
                     "--cache-dir $SPARE/cache --vfs-write-back 100ms --vfs-cache-mode " +
                     mode,
            .programs = {"rclone", "fusermount3"},
            .is_slow_to_show = true,
            .is_forgetful = true};
}

/// Runs a command where no other process uses the network. What it leaves behind ends with it.
const std::string in_own_network = "unshare --net --pid --fork --kill-child";

/// A real server in namespaces of its own: its port is free there, and it ends with its client.
/// That sends a file seconds after its end, since it loses one whose folder is renamed meanwhile.
VolumeKind smb()
{
    const std::string settings = "[global]\\nserver role = standalone server\\n"
                                 "map to guest = Bad User\\nguest account = root\\n"
                                 "unix extensions = no\\nlog file = %s/log\\n"
                                 "pid directory = %s\\nlock directory = %s\\n"
                                 "state directory = %s\\ncache directory = %s\\n"
                                 "private dir = %s\\nncalrpc dir = %s\\n[share]\\npath = %s\\n"
                                 "read only = no\\nguest ok = yes\\nforce user = root\\n";
    return {.name = "SMB, rclone",
            .mount = "S=$SPARE/state; mkdir $S && printf '" + settings +
                     "' $S $S $S $S $S $S $S $SEED >$SPARE/smbd && (HOME=$SPARE " + in_own_network +
                     " bash -c 'ip link set lo up && smbd -D -s $SPARE/smbd && "
                     "until : </dev/tcp/127.0.0.1/445; do sleep 0.05; done; "
                     "exec rclone mount :smb:share $MOUNT --smb-host 127.0.0.1 --smb-user guest "
                     "--config /dev/null --cache-dir $SPARE/cache --vfs-cache-mode writes' &) && "
                     "timeout 20 sh -c 'until mountpoint -q $MOUNT; do sleep 0.05; done'",
            .programs = {"smbd", "ip", "rclone", "fusermount3"},
            .is_slow_to_show = true,
            .is_forgetful = true};
}

/// The volumes of the tests' own, each of which lacks something.
std::vector<VolumeKind> odd_kinds()
{
    const std::vector<std::pair<std::string, std::string>> rules{
        {"no rename with flags", "renameat2=EINVAL"},
        {"no links", "renameat2=EINVAL link=EPERM"},
        {"links not known", "renameat2=EINVAL link=ENOSYS"},
        {"no symbolic links", "symlink=EPERM"},
        {"symbolic links not known", "symlink=ENOSYS"},
        {"no nodes", "mknod=EPERM"},
        {"nothing truncated", "truncate=EPERM"},
        {"one direction", "open-both=EACCES"},
        {"no flush", "fsync=EOPNOTSUPP fsyncdir=EINVAL"},
        {"flush not known", "fsync=ENOSYS fsyncdir=ENOSYS"},
        {"no attributes", "setxattr=EOPNOTSUPP getxattr=EOPNOTSUPP listxattr=EOPNOTSUPP"},
        {"attributes too big", "setxattr=E2BIG"},
        {"attributes find no space", "setxattr=ENOSPC"},
        {"attributes fail", "setxattr=EIO getxattr=EIO listxattr=EIO"},
        {"modes fail", "chmod=EIO"},
        {"modes refused", "chmod=EPERM chown=EPERM"},
        {"dates fail", "utimens=EIO"},
        {"dates refused", "utimens=EPERM"},
        {"links without dates", "utimens-link=ENOSYS chmod-link=ENOSYS"},
        {"dates restamped", "restamp"},
        {"sizes unknown", "statfs=ENOSYS"},
        {"holes not found", "lseek=EINVAL"},
        {"no link count", "no-link-count"},
        {"any case", "any-case"},
        {"any case, no rename with flags", "any-case renameat2=EINVAL link=EPERM"},
        {"direct", "direct"},
        {"little kept", "setxattr=E2BIG truncate=EPERM utimens-link=ENOSYS chmod-link=ENOSYS "
                        "fsync=ENOSYS fsyncdir=ENOSYS restamp"},
        {"poorest", "renameat2=EINVAL link=EPERM symlink=EPERM mknod=EPERM truncate=EPERM "
                    "open-both=EINVAL fsync=EOPNOTSUPP setxattr=EIO chmod=EIO utimens=EIO "
                    "statfs=EIO lseek=EINVAL no-link-count any-case direct"}};
    std::vector<VolumeKind> kinds;
    for (const auto& [name, rule] : rules)
        kinds.push_back({.name = "odd: " + name,
                         .mount = odd(rule),
                         .is_forgetful = name.starts_with("modes")});
    return kinds;
}

bool is_installed(const std::string& program)
{
    return std::ranges::any_of(std::vector{"/usr/bin/", "/usr/sbin/", "/bin/", "/sbin/"},
                               [&](const char* in) { return fs::exists(in + program); });
}

} // namespace

const std::vector<VolumeKind>& volume_kinds()
{
    static const std::vector<VolumeKind> kinds = [] {
        std::vector<VolumeKind> all{
            {.name = "tmpfs", .mount = "mount -t tmpfs none $MOUNT"},
            {.name = "vfat",
             .mount =
                 "mkfs.vfat -C $SPARE/image 16384 && mount -o loop -t vfat $SPARE/image $MOUNT",
             .programs = {"mkfs.vfat"}},
            {.name = "exfat-fuse",
             .mount = "truncate -s 99M $SPARE/image && mkfs.exfat $SPARE/image && "
                      "mount -o loop -t exfat-fuse $SPARE/image $MOUNT",
             .programs = {"mkfs.exfat", "mount.exfat-fuse"}},
            {.name = "ntfs-3g",
             .mount = "truncate -s 99M $SPARE/image && mkfs.ntfs -qFf $SPARE/image && "
                      "ntfs-3g $SPARE/image $MOUNT",
             .programs = {"mkfs.ntfs", "ntfs-3g"}},
            sshfs("sshfs", "internal-sftp"),
            sshfs("sshfs, no extensions", "internal-sftp -P posix-rename,hardlink,fsync,statvfs"),
            rclone("off"),
            rclone("writes"),
            rclone("full"),
            smb(),
            {.name = "mergerfs",
             .mount = "mkdir $SPARE/other && mergerfs $SEED:$SPARE/other $MOUNT",
             .programs = {"mergerfs"}},
            {.name = "bindfs", .mount = "bindfs $SEED $MOUNT", .programs = {"bindfs"}},
            {.name = "gocryptfs",
             .mount = "gocryptfs -init -q -scryptn 10 -extpass 'echo x' $SEED && "
                      "gocryptfs -q -extpass 'echo x' $SEED $MOUNT",
             .programs = {"gocryptfs"}},
            {.name = "archivemount",
             .mount = "tar -C $SEED -czf $SPARE/a.tgz . && archivemount $SPARE/a.tgz "
                      "$MOUNT",
             .programs = {"archivemount"},
             // It hangs when it packs a FIFO, and loses what is in a folder that is renamed.
             .not_tried = "copy_fifo_to copy_replace_tree"},
            {.name = "squashfuse",
             .mount = "mksquashfs $SEED $SPARE/image -quiet && squashfuse $SPARE/image $MOUNT",
             .programs = {"mksquashfs", "squashfuse"},
             .is_read_only = true}};
        std::ranges::move(odd_kinds(), std::back_inserter(all));
        return all;
    }();
    return kinds;
}

VolumeKind odd_kind(const std::string& rules)
{
    return {.name = "odd", .mount = odd(rules)};
}

const VolumeKind& volume_kind(const std::string& name)
{
    return *std::ranges::find(volume_kinds(), name, &VolumeKind::name);
}

std::optional<std::string> obstacle_to(const VolumeKind& kind)
{
    for (const std::string& program : kind.programs)
        if (!is_installed(program))
            return program + " is not installed";
    if (kind.mount.find("mount -") == std::string::npos && !fs::exists("/dev/fuse"))
        return "there is no /dev/fuse";
    if (kind.mount.find(in_own_network) != std::string::npos &&
        std::system((in_own_network + " ip link set lo up").c_str()) != 0)
        return "no process can have a network of its own";
    return Mount::obstacle();
}

void MountedKind::mount(const VolumeKind& kind)
{
    fs::create_directories(url());
    fs::create_directories(scratch_ / "spare");
    fs::create_directories(seed());
    const std::string root = scratch_.url().path();
    const std::string log = root + "/log";
    const std::string command = "SEED=" + root + "/seed SPARE=" + root + "/spare MOUNT=" + root +
                                "/mount; export SEED SPARE MOUNT; (" + kind.mount + ") >" + log +
                                " 2>&1 </dev/null";
    const int result = std::system(command.c_str());
    if (result != 0)
        throw std::runtime_error(kind.name + " can't be mounted: " + read_file(Url(log)));
}

MountedKind::~MountedKind()
{
    unmount();
}

void MountedKind::unmount()
{
    if (::umount2(url().path().c_str(), 0) != 0)
        ::umount2(url().path().c_str(), MNT_DETACH);
}

} // namespace orv::test
