#include "utility/ExtendedAttributes.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>

namespace orv::test {
namespace {

class ExtendedAttributes : public testing::Test {
protected:
    void SetUp() override
    {
        make_tree(scratch.url(), {"file=x", "folder/", "link->file"});
        if (::setxattr(file.path().c_str(), "user.orv_probe", "", 0, 0) && errno == ENOTSUP)
            GTEST_SKIP() << "the temporary folder's file system has no extended attributes";
    }

    Scratch scratch;
    Url file = scratch / "file";
};

TEST_F(ExtendedAttributes, are_set_read_and_removed)
{
    const std::string values[] = {"true", "", std::string("a\0b", 3), std::string(1000, 'v')};
    for (const Url& url : {file, scratch / "folder"}) {
        const FileDescriptor open(::open(url.path().c_str(), O_RDONLY | O_CLOEXEC));
        const FileDescriptor place(::open(url.path().c_str(), O_PATH | O_CLOEXEC));
        for (const std::string& value : values) {
            set_ext_attr(url, "orv_ignore", value);
            EXPECT_EQ(ext_attr(url, "orv_ignore"), value);
            EXPECT_EQ(ext_attr(open.get(), "orv_ignore"), value);
            EXPECT_EQ(ext_attr(place.get(), "orv_ignore"), value);
        }
        remove_ext_attr(url, "orv_ignore");
        remove_ext_attr(url, "orv_ignore");
        EXPECT_EQ(ext_attr(url, "orv_ignore"), std::nullopt);
        EXPECT_EQ(ext_attr(open.get(), "orv_ignore"), std::nullopt);
        EXPECT_EQ(ext_attr(place.get(), "orv_ignore"), std::nullopt);
    }
}

TEST_F(ExtendedAttributes, are_stored_in_the_user_namespace)
{
    ASSERT_EQ(::setxattr(file.path().c_str(), "user.orv_ignore", "true", 4, 0), 0);
    EXPECT_EQ(ext_attr(file, "orv_ignore"), "true");
}

TEST_F(ExtendedAttributes, of_a_link_are_not_those_of_its_target)
{
    set_ext_attr(file, "orv_ignore", "true");
    EXPECT_EQ(ext_attr(scratch / "link", "orv_ignore"), std::nullopt);
    EXPECT_THROW(set_ext_attr(scratch / "link", "orv_ignore", "false"), Error);
    EXPECT_EQ(ext_attr(file, "orv_ignore"), "true");
}

TEST_F(ExtendedAttributes, of_what_is_not_there_are_absent)
{
    EXPECT_EQ(ext_attr(scratch / "missing", "orv_ignore"), std::nullopt);
    EXPECT_EQ(ext_attr(-1, "orv_ignore"), std::nullopt);
    try {
        remove_ext_attr(scratch / "missing", "orv_ignore");
        FAIL() << "removed from nothing";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), ENOENT);
        EXPECT_EQ(error.path(), scratch / "missing");
    }
}

} // namespace
} // namespace orv::test
