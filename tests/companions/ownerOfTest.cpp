// In whose name endpoints are made. Root can be several users; others see only what is theirs.
#include "companions/ownerOf.h"

#include "companions/lockFile.h"
#include "companions/trouble.h"
#include "support/isolation.h"
#include "wire/endpoints.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using companions::OwnerOf;

constexpr uid_t user = 4242;
constexpr gid_t group = 4343;
constexpr uid_t another = 4444;

std::string outcome() {
    try {
        const OwnerOf owner(wire::directory, 5);
        return "works";
    } catch (const companions::Failure& failure) {
        EXPECT_EQ(failure.exitStatus(), 5);
        return failure.what();
    }
}

struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status;
}

class Owner : public testing::Test {
  protected:
    void SetUp() override {
        if (!testSupport::enterIsolationWithUsers()) {
            GTEST_SKIP() << "needs root, to be several users";
        }
        ASSERT_EQ(::chown(wire::directory, user, group), 0);
        ASSERT_EQ(::chmod(wire::directory, 0770), 0);
    }
    void TearDown() override {
        static_cast<void>(::seteuid(0));
        static_cast<void>(::setegid(0));
    }

    const std::string file = WIRE_DIRECTORY "/file";
};

TEST_F(Owner, OwnsWhatRootMakes) {
    {
        const OwnerOf owner(wire::directory, 5);
        std::ofstream(file) << "text";
    }
    const struct stat made = statusOf(file);
    EXPECT_EQ(made.st_uid, user);
    EXPECT_EQ(made.st_gid, group);
    EXPECT_EQ(made.st_mode & 07777U, 0660U);
    EXPECT_EQ(::geteuid(), 0U) << "root is root again";
    EXPECT_EQ(::getegid(), 0U);
}

TEST_F(Owner, KeepsTheMaskOfOtherFiles) {
    ::umask(022);
    { const OwnerOf owner(wire::directory, 5); }
    EXPECT_EQ(::umask(022), 022U);
    ASSERT_EQ(::seteuid(another), 0);
    EXPECT_NE(outcome(), "works");
    EXPECT_EQ(::umask(022), 022U);
}

TEST_F(Owner, HasNoMoreRightsThanItsUser) {
    ASSERT_EQ(::chmod(wire::directory, 0550), 0);
    const OwnerOf owner(wire::directory, 5);
    EXPECT_FALSE(std::ofstream(file).is_open());
}

TEST_F(Owner, IsRefusedWhenItIsAStranger) {
    ASSERT_EQ(::chmod(wire::directory, 0777), 0);
    ASSERT_EQ(::setegid(another), 0);
    ASSERT_EQ(::seteuid(another), 0);
    EXPECT_EQ(
        outcome(),
        "cannot use the endpoints in /run/shm/zmq: expected a directory of user 4444, of root, or of one "
        "of this user's groups, got one of user 4242; run as that user, or remove the directory when "
        "nothing uses it");
}

TEST_F(Owner, IsAnybodyOfTheGroup) {
    ASSERT_EQ(::setegid(group), 0);
    ASSERT_EQ(::seteuid(another), 0);
    EXPECT_EQ(outcome(), "works");
}

TEST_F(Owner, MayBeRoot) {
    ASSERT_EQ(::chown(wire::directory, 0, 0), 0);
    ASSERT_EQ(::setegid(another), 0);
    ASSERT_EQ(::seteuid(another), 0);
    EXPECT_EQ(outcome(), "works");
}

TEST_F(Owner, IsNobodyOfAMissingDirectory) {
    ASSERT_EQ(::rmdir(wire::directory), 0);
    EXPECT_EQ(outcome(), "works") << "who makes something in it is told";
}

} // namespace
