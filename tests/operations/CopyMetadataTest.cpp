#include "CustomAttributes/RecCustomAttr.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "utility/ExtendedAttributes.hpp"
#include "utility/FileDescriptor.hpp"

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace orv::test {
namespace {

class CopyMetadataTest : public EngineTest {
protected:
    std::string copied(const Url& from, const Url& to,
                       ConflictBehaviour behaviour = ConflictBehaviour::stop)
    {
        const auto statuses = statuses_of<CopyOperation>([&](auto take) {
            return manager().copy(from, to, [take, behaviour](const auto& status) {
                answer(status, behaviour);
                take(status);
            });
        });
        return text_of(statuses.back());
    }
};

struct stat facts_of(const Url& url)
{
    struct stat facts {};
    EXPECT_EQ(::lstat(url.path().c_str(), &facts), 0) << url.path();
    return facts;
}

void set_times(const Url& url, time_t access, time_t modification)
{
    const timespec times[] = {{access, 123'456'789}, {modification, 987'654'321}};
    EXPECT_EQ(::utimensat(AT_FDCWD, url.path().c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

/// Mode and modification time.
std::string kept_facts(const Url& url)
{
    const struct stat facts = facts_of(url);
    return std::to_string(facts.st_mode & 07777) + " " + std::to_string(facts.st_mtim.tv_sec) +
           "." + std::to_string(facts.st_mtim.tv_nsec);
}

TEST_F(CopyMetadataTest, modes_and_times_are_kept_at_every_depth)
{
    make_tree(folder(), {"a/b/c=1", "a/b/link->c", "a/d=2", "a/e/"});
    ::mkfifo(at("a/fifo").path().c_str(), 0600);
    const struct {
        const char* name;
        mode_t mode;
    } items[] = {{"a/b/c", 0640}, {"a/b", 0555},    {"a/d", 0777},
                 {"a/e", 01777},  {"a/fifo", 0622}, {"a", 0751}};
    for (const auto& item : items)
        EXPECT_EQ(::chmod(at(item.name).path().c_str(), item.mode), 0);
    time_t time = 1'000'000;
    for (const char* name : {"a/b/c", "a/b/link", "a/b", "a/d", "a/e", "a/fifo", "a"})
        set_times(at(name), time - 1, time), time += 1000;

    EXPECT_EQ(copied(at("a"), at("z")), "success");
    for (const char* name : {"", "/b", "/b/c", "/b/link", "/d", "/e", "/fifo"})
        EXPECT_EQ(kept_facts(at(std::string("z") + name)), kept_facts(at(std::string("a") + name)))
            << name;
    EXPECT_EQ(tree(at("z")), tree(at("a")));
    ::chmod(at("a/b").path().c_str(), 0700);
    ::chmod(at("z/b").path().c_str(), 0700);
}

TEST_F(CopyMetadataTest, set_user_and_set_group_bits_are_dropped)
{
    make_tree(folder(), {"a/b=1", "a/c/"});
    ::chmod(at("a/b").path().c_str(), 06755);
    ::chmod(at("a/c").path().c_str(), 02755);
    EXPECT_EQ(copied(at("a"), at("z")), "success");
    EXPECT_EQ(facts_of(at("z/b")).st_mode & 07777, 0755U);
    EXPECT_EQ(facts_of(at("z/c")).st_mode & 07777, 0755U);
}

TEST_F(CopyMetadataTest, extended_attributes_are_kept)
{
    const std::string long_value(3000, 'v');
    make_tree(folder(), {"a/b=1", "a/c/d=2"});
    try {
        set_ext_attr(at("a"), "note", "top");
        set_ext_attr(at("a/b"), "note", long_value);
        set_ext_attr(at("a/c"), "empty", "");
    } catch (const Error&) {
        GTEST_SKIP() << "the file system has no extended attributes";
    }
    EXPECT_EQ(copied(at("a"), at("z")), "success");
    EXPECT_EQ(ext_attr(at("z"), "note"), "top");
    EXPECT_EQ(ext_attr(at("z/b"), "note"), long_value);
    EXPECT_EQ(ext_attr(at("z/c"), "empty"), "");
    EXPECT_EQ(ext_attr(at("z/c/d"), "note"), std::nullopt);
}

TEST_F(CopyMetadataTest, holes_stay_holes)
{
    constexpr off_t size = 4 << 20;
    make_tree(folder(), {"sparse=start", "all hole="});
    std::filesystem::resize_file(at("all hole"), size);
    {
        const FileDescriptor file(::open(at("sparse").path().c_str(), O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(::pwrite(file.get(), "middle", 6, size / 2), 6);
        EXPECT_EQ(::ftruncate(file.get(), size), 0);
    }
    for (const char* name : {"sparse", "all hole"}) {
        const Url copy = at(std::string(name) + " copy");
        EXPECT_EQ(copied(at(name), copy), "success");
        EXPECT_EQ(facts_of(copy).st_size, size);
        EXPECT_LE(facts_of(copy).st_blocks, facts_of(at(name)).st_blocks + 64);
    }
    EXPECT_TRUE(read_file(at("sparse")) == read_file(at("sparse copy")));
}

TEST_F(CopyMetadataTest, rows_follow_the_items_that_are_copied)
{
    make_tree(folder(), {"a/b/c=1", "a/d=2", "a/l->d", "a/.x.jgd=3", "ab=4", "z/d=5", "z/k=6"});
    std::vector<CustomAttributes> attributes;
    std::int64_t number = 0;
    for (const char* name : {"a", "a/b/c", "a/d", "a/.x.jgd", "ab", "z/k"})
        attributes.push_back({.url = at(name), .order_no = ++number});
    save_all(attributes, false);

    EXPECT_EQ(copied(at("a"), at("z"), ConflictBehaviour::merge), "success");
    EXPECT_EQ(copied(at("a"), at("a"), ConflictBehaviour::keep_both), "success");

    const std::string start = record_key(folder()).text() + "/";
    std::vector<std::string> rows;
    for (const RecCustomAttr& record :
         RecCustomAttr::fetch_all("substr(relative_path, 1, length(?1)) = ?1", {start}))
        rows.push_back(record.relative_path.substr(start.size()) + " " +
                       std::to_string(record.order_no.value_or(0)));
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(rows, (std::vector<std::string>{"a 1", "a 2 1", "a 2/b/c 2", "a 2/d 3", "a/.x.jgd 4",
                                              "a/b/c 2", "a/d 3", "ab 5", "z/b/c 2", "z/k 6"}));
}

TEST_F(CopyMetadataTest, sockets_and_fifos_are_made_anew)
{
    make_tree(folder(), {"a/"});
    ::mkfifo(at("a/fifo").path().c_str(), 0640);
    EXPECT_EQ(::mknod(at("a/socket").path().c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_EQ(copied(at("a"), at("z")), "success");
    EXPECT_TRUE(S_ISFIFO(facts_of(at("z/fifo")).st_mode));
    EXPECT_TRUE(S_ISSOCK(facts_of(at("z/socket")).st_mode));
    EXPECT_EQ(copied(at("a/fifo"), at("fifo")), "success");
    EXPECT_EQ(facts_of(at("fifo")).st_mode, S_IFIFO | 0640U);
}

} // namespace
} // namespace orv::test
