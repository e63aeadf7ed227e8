#include "database/OpenDatabase.hpp"
#include "support/Tree.hpp"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/mount.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

struct Server {
    const char* name;
    const char* command; ///< mounts $FROM at $AT
};

void PrintTo(const Server& server, std::ostream* to)
{
    *to << server.name;
}

/// A volume behind a program, which ends with it.
class ServedVolume : public testing::TestWithParam<Server> {
protected:
    void SetUp() override
    {
        fs::create_directory(scratch_ / "from");
        fs::create_directory(at_);
        const std::string root = scratch_.url().path();
        const std::string command = "(FROM=" + root + "/from AT=" + at_.path() + "; " +
                                    GetParam().command + ") >" + root + "/log 2>&1";
        if (std::system(command.c_str()) != 0)
            GTEST_SKIP() << read_file(scratch_ / "log");
    }
    ~ServedVolume() override { ::umount2(at_.path().c_str(), MNT_DETACH); }

    Scratch scratch_;
    Url at_ = scratch_ / "at";
};

TEST_P(ServedVolume, holds_a_database_also_one_whose_log_was_written_elsewhere)
{
    OpenDatabase elsewhere;
    elsewhere.insert("a");
    const Url file = at_.appending("a.sqlite");
    for (const char* end : {"", "-wal"})
        fs::copy_file(elsewhere.file.path() + end, file.path() + end);

    Database one;
    Database other;
    one.open(file, false);
    other.open(file, false);
    one.execute("INSERT INTO t VALUES ('b')");
    other.save_point([&] { other.execute("INSERT INTO t VALUES ('c')"); });
    for (Database* database : {&one, &other})
        EXPECT_EQ(texts(*database, "SELECT v FROM t ORDER BY v"), (Texts{"a", "b", "c"}));
    EXPECT_EQ(texts(one, "PRAGMA journal_mode"), (Texts{"delete"}));
    EXPECT_EQ(tree(at_).size(), 1U) << "nothing stands beside it";
}

// The connection fails; mapped memory would end the process.
TEST_P(ServedVolume, may_vanish)
{
    Database database;
    database.open(at_.appending("a.sqlite"), true);
    database.execute("CREATE TABLE t (v)");
    ::umount2(at_.path().c_str(), MNT_FORCE); // stays in use, but its server is gone
    EXPECT_TRUE(error_of([&] { database.execute("INSERT INTO t VALUES (1)"); }));
}

// Any server of files will do for the one that sshfs talks to.
constexpr Server servers[] = {
    {"sshfs", "printf '#!/bin/sh\\nexec /usr/lib/openssh/sftp-server' >$FROM/../server && "
              "chmod +x $FROM/../server && sshfs -o ssh_command=$FROM/../server x:$FROM $AT"},
    {"sshfs_direct", "printf '#!/bin/sh\\nexec /usr/lib/openssh/sftp-server' >$FROM/../server && "
                     "chmod +x $FROM/../server && "
                     "sshfs -o direct_io -o ssh_command=$FROM/../server x:$FROM $AT"},
    {"bindfs", "bindfs -o direct_io $FROM $AT"},
    {"mergerfs", "mergerfs -o direct_io $FROM $AT"},
    {"rclone", "HOME=$FROM/.. rclone mount $FROM $AT --daemon --config /dev/null "
               "--cache-dir $FROM/../cache --vfs-cache-mode writes"}};

INSTANTIATE_TEST_SUITE_P(Servers, ServedVolume, testing::ValuesIn(servers),
                         testing::PrintToStringParamName());

} // namespace
} // namespace orv::test
