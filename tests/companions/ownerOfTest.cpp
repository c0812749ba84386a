// In whose name endpoints are made. Root can be several users; others see only what is theirs.
#include "companions/ownerOf.h"

#include "companions/lockFile.h"
#include "companions/trouble.h"
#include "support/isolation.h"
#include "wire/endpoints.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
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

// A socket that root has bound with this mask.
class SocketOfTheGroup : public Owner, public testing::WithParamInterface<mode_t> {
  protected:
    SocketOfTheGroup() {
        socketAddress.sun_family = AF_UNIX;
        file.copy(socketAddress.sun_path, sizeof socketAddress.sun_path - 1);
    }

    void bindAndListen() {
        const mode_t before = ::umask(GetParam());
        const OwnerOf owner(wire::directory, 5);
        ASSERT_EQ(::bind(listener, address(), sizeof socketAddress), 0);
        companions::openToGroup(("ipc://" + file).c_str());
        ASSERT_EQ(::listen(listener, 1), 0);
        ::umask(before);
    }

    // Whether somebody may connect.
    bool admits(uid_t somebody, gid_t hisGroup) {
        EXPECT_EQ(::setegid(hisGroup), 0);
        EXPECT_EQ(::seteuid(somebody), 0);
        const int caller = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool connected = ::connect(caller, address(), sizeof socketAddress) == 0;
        ::close(caller);
        EXPECT_EQ(::seteuid(0), 0);
        EXPECT_EQ(::setegid(0), 0);
        return connected;
    }

    const sockaddr* address() const {
        return reinterpret_cast<const sockaddr*>(&socketAddress);
    }

    sockaddr_un socketAddress{};
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

TEST_P(SocketOfTheGroup, IsForTheUserAndTheGroupAlone) {
    bindAndListen();
    EXPECT_EQ(statusOf(file).st_mode & 07777U, 0660U);
    ASSERT_EQ(::chmod(wire::directory, 0777), 0);
    EXPECT_TRUE(admits(user, another));
    EXPECT_TRUE(admits(another, group));
    EXPECT_FALSE(admits(another, another));
}

TEST_P(SocketOfTheGroup, StandsBesideALockOfTheGroup) {
    ::umask(GetParam());
    constexpr companions::LockWords silent{5, [](int) { return companions::Trouble{}; },
                                           [](const std::string&) { return companions::Trouble{}; }};
    {
        const OwnerOf owner(wire::directory, 5);
        const companions::LockFile lock(file.c_str(), silent);
        EXPECT_EQ(statusOf(file).st_mode & 07777U, 0660U);
    }
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    {
        const OwnerOf owner(wire::directory, 5);
        const companions::LockFile lock(file.c_str(), silent);
    }
    EXPECT_EQ(statusOf(file).st_mode & 07777U, 0660U) << "as an earlier program may have left it";
}

INSTANTIATE_TEST_SUITE_P(, SocketOfTheGroup, testing::Values(0022, 0077, 0000),
                         [](const auto& mask) { return "Mask" + std::to_string(mask.param); });

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
