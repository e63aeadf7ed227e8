#include "files/Staging.hpp"

#include "files/Leftovers.hpp"
#include "files/Note.hpp"
#include "files/ProcessedFiles.hpp"
#include "support/Engine.hpp"
#include "support/Volume.hpp"

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

/// An open folder for the files of a test.
struct Destination {
    explicit Destination(const Url& url)
        : opened(::open(url.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)), folder{
                                                                                      opened.get(),
                                                                                      url}
    {
    }

    FileDescriptor opened;
    DestinationFolder folder;
};

PartialFile written(PartialFile file)
{
    EXPECT_EQ(::write(file.fd(), "text", 4), 4);
    struct stat facts {};
    EXPECT_EQ(::fstat(file.fd(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600U);
    return file;
}

int publish_new(Staging& staging, const Destination& destination)
{
    PartialFile file = written(staging.create(destination.folder));
    return staging.publish(file, destination.folder, "a");
}

class StagingTest : public EngineTest {};

TEST_F(StagingTest, a_file_is_out_of_sight_until_it_is_published)
{
    const Destination destination(folder());
    Staging staging;
    {
        const PartialFile given_up = written(staging.create(destination.folder));
        EXPECT_EQ(tree(folder()), Texts{});
    }
    PartialFile file = written(staging.create(destination.folder));
    EXPECT_EQ(staging.publish(file, destination.folder, "a"), 0);
    EXPECT_EQ(tree(folder()), Texts{"a=text"});
    EXPECT_EQ(publish_new(staging, destination), EEXIST);
    EXPECT_EQ(tree(folder()), Texts{"a=text"});
}

TEST_F(StagingTest, one_that_needs_a_name_is_in_the_processed_files_folder)
{
    const Destination destination(folder());
    Staging staging;
    EXPECT_TRUE(staging.can_do_otherwise(EPERM));
    {
        const PartialFile given_up = written(staging.create(destination.folder));
        EXPECT_EQ(tree(processed_files_folder()).size(), 1U);
        EXPECT_EQ(tree(folder()), Texts{});
    }
    EXPECT_EQ(tree(processed_files_folder()), Texts{});
    EXPECT_EQ(publish_new(staging, destination), 0);
    EXPECT_EQ(publish_new(staging, destination), EEXIST);
    EXPECT_EQ(tree(folder()), Texts{"a=text"});
}

/// What a file built beside its destination, and its note, look like.
void expect_hidden_and_announced(const Url& folder, const Url& processed_files)
{
    const Texts items = tree(folder);
    ASSERT_EQ(items.size(), 1U);
    const std::string uuid = items[0].substr(1, 36);
    EXPECT_EQ(items[0], "." + uuid + ".orvresume=text");
    const Texts notes = tree(processed_files);
    ASSERT_EQ(notes.size(), 1U);
    const auto note = Note::parsed(notes[0].substr(uuid.size() + std::string(".note=").size()));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->hidden, folder.appending("." + uuid + ".orvresume"));
    EXPECT_TRUE(note->volume.is_mounted());
}

TEST_F(StagingTest, one_on_another_volume_is_hidden_beside_its_destination_and_announced)
{
    const Scratch other(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "");
    const Destination destination(other.url());
    struct stat here {};
    struct stat there {};
    ::stat(folder().path().c_str(), &here);
    ::fstat(destination.folder.fd, &there);
    if (here.st_dev == there.st_dev)
        GTEST_SKIP() << "there is no other volume";

    make_tree(other.url(), {"below/"});
    const Destination below(other / "below");
    {
        Staging staging;
        staging.can_do_otherwise(EPERM);
        PartialFile file = written(staging.create(below.folder));
        expect_hidden_and_announced(other / "below", processed_files_folder());
        EXPECT_EQ(staging.publish(file, below.folder, "a"), 0);

        const PartialFile given_up = written(staging.create(destination.folder));
        EXPECT_EQ(tree(processed_files_folder()).size(), 1U);
    }
    EXPECT_EQ(tree(other.url()), (Texts{"below/", "below/a=text"}));
    EXPECT_EQ(tree(processed_files_folder()), Texts{});
}

TEST_F(StagingTest, one_that_cannot_be_moved_to_its_destination_is_built_beside_it)
{
    const auto volume = Volume::bound();
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    const Destination destination(volume->url());
    Staging staging;
    staging.can_do_otherwise(EPERM);
    const int code = publish_new(staging, destination);
    if (code == 0)
        GTEST_SKIP() << "temporary files lie on another device anyway";
    EXPECT_EQ(code, EXDEV);
    EXPECT_TRUE(staging.can_do_otherwise(code));
    PartialFile file = written(staging.create(destination.folder));
    expect_hidden_and_announced(volume->url(), processed_files_folder());
    EXPECT_EQ(staging.publish(file, destination.folder, "a"), 0);
    EXPECT_FALSE(staging.can_do_otherwise(EXDEV));
    EXPECT_EQ(tree(volume->url()), Texts{"a=text"});
}

TEST_F(StagingTest, only_a_private_hiding_place_gives_a_file_its_mode_from_the_start)
{
    const Destination destination(folder());
    for (const bool is_private : {true, false}) {
        Staging staging;
        staging.can_do_otherwise(EPERM);
        staging.can_do_otherwise(EXDEV);
        staging.hide_in({destination.folder, is_private});
        const PartialFile file = staging.create(destination.folder, 0700);
        struct stat facts {};
        EXPECT_EQ(::fstat(file.fd(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 0777, is_private ? 0700U : 0600U);
    }
}

TEST_F(StagingTest, a_processed_files_folder_that_was_cleaned_away_is_made_again)
{
    const Destination destination(folder());
    Staging staging;
    staging.can_do_otherwise(EPERM);
    std::filesystem::remove(processed_files_folder());
    EXPECT_EQ(publish_new(staging, destination), 0);
    EXPECT_EQ(tree(folder()), Texts{"a=text"});
}

TEST_F(StagingTest, the_clean_up_follows_no_link_in_place_of_its_folder)
{
    const std::string name = "01234567-89ab-cdef-0123-456789abcdef";
    make_tree(folder(), {"victim/" + name + "=1"});
    const Url set_aside = at("set aside");
    std::filesystem::rename(processed_files_folder(), set_aside);
    std::filesystem::create_directory_symlink(at("victim"), processed_files_folder());
    remove_leftovers();
    std::filesystem::remove(processed_files_folder());
    std::filesystem::rename(set_aside, processed_files_folder());
    EXPECT_EQ(read_file(at("victim/" + name)), "1");
}

} // namespace
} // namespace orv::test
