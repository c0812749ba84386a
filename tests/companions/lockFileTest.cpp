// The lock, and what may stand in its place.
#include "companions/lockFile.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using companions::LockFile;

constexpr companions::LockWords words{
    7,
    [](int error) {
        return companions::Trouble{"cannot open", "a file", std::strerror(error), "look"};
    },
    [](const std::string& holder) {
        return companions::Trouble{"held", "nobody", holder, "wait"};
    },
};

class Lock : public testing::Test {
  protected:
    Lock() : folder(testing::TempDir() + "lock-" + std::to_string(::getpid())), path(folder + "/lock") {
        fs::create_directories(folder);
    }
    ~Lock() override {
        fs::remove_all(folder);
    }

    // What the lock says, "taken" when it is taken.
    std::string outcome() const {
        try {
            const LockFile lock(path.c_str(), words);
            return "taken";
        } catch (const companions::Failure& failure) {
            EXPECT_EQ(failure.exitStatus(), 7);
            return failure.what();
        }
    }

    std::string refusal(const std::string& got) const {
        return "cannot use the lock " + path + ": expected a file of its own, got " + got +
               "; whoever put it there may mean harm: remove it, and see who may write to the directory";
    }

    static std::string contentOf(const std::string& file) {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    std::string folder;
    std::string path;
};

TEST_F(Lock, IsTakenAndGivenBack) {
    EXPECT_EQ(outcome(), "taken");
    EXPECT_EQ(outcome(), "taken");
}

TEST_F(Lock, TellsWhoHoldsIt) {
    const LockFile held(path.c_str(), words);
    EXPECT_EQ(outcome(), "held: expected nobody, got process " + std::to_string(::getpid()) + "; wait");
}

TEST_F(Lock, TellsWhyTheFileCannotBeOpened) {
    fs::remove_all(folder);
    EXPECT_EQ(outcome(), "cannot open: expected a file, got No such file or directory; look");
}

TEST_F(Lock, FollowsNoLink) {
    const std::string victim = folder + "/victim";
    std::ofstream(victim) << "precious";
    fs::create_symlink(victim, path);
    EXPECT_EQ(outcome(), refusal("a link"));
    EXPECT_EQ(contentOf(victim), "precious");
    fs::remove(path);
    fs::create_symlink(folder + "/nothing", path);
    EXPECT_EQ(outcome(), refusal("a link"));
    EXPECT_FALSE(fs::exists(folder + "/nothing"));
}

TEST_F(Lock, TakesNoOtherNameOfAFile) {
    const std::string victim = folder + "/victim";
    std::ofstream(victim) << "precious";
    fs::create_hard_link(victim, path);
    EXPECT_EQ(outcome(), refusal("a file with another name"));
    EXPECT_EQ(contentOf(victim), "precious");
}

TEST_F(Lock, IsNoDirectoryAndNoPipe) {
    fs::create_directory(path);
    EXPECT_EQ(outcome(), refusal("a directory"));
    fs::remove(path);
    ASSERT_EQ(::mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(outcome(), refusal("no regular file"));
}

} // namespace
