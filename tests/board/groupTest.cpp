// Service, board and media manager of several users who share a group, whatever mask each is started with.
#include "boardProcess.h"

#include "wire/endpoints.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <map>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using boardProcess::sampleWithAllTables;
using testSupport::ChildProcess;
using testSupport::patience;
using Modes = std::map<std::string, mode_t>;

constexpr uid_t firstUser = 4242;
constexpr gid_t group = 4343;
constexpr uid_t stranger = 4444;

constexpr std::array<const char*, 3> endpoints{wire::instructionEndpoint, wire::requestEndpoint,
                                               wire::documentEndpoint};

// Sockets and locks, by their names.
const Modes forTheGroup{{"mpegfe-board.lock", 0660},
                        {"mpegfe-manager.lock", 0660},
                        {"uRO_MMR_MPEGFE-1", 0660},
                        {"uRO_MMR_MpegFE", 0660},
                        {"uRO_MpegFE_MMR", 0660}};

Modes modes() {
    Modes found;
    for (const auto& entry : std::filesystem::directory_iterator(wire::directory)) {
        std::error_code gone;
        found[entry.path().filename()] = static_cast<mode_t>(entry.status(gone).permissions());
    }
    return found;
}

// What is found in the end: a program makes its files one after the other, and each in two steps.
Modes modesInTheEnd() {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (modes() != forTheGroup && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return modes();
}

std::vector<std::string> withMask(const std::string& mask, const std::vector<std::string>& words) {
    std::vector<std::string> all{"sh", "-c", "umask " + mask + R"(; exec "$@")", "sh"};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

std::vector<std::string> asUser(uid_t user, const std::vector<std::string>& words) {
    std::vector<std::string> all{"setpriv", "--reuid=" + std::to_string(user),
                                 "--regid=" + std::to_string(group), "--clear-groups"};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

// All that a program prints on standard output, and how it ends.
std::string transcript(ChildProcess& process) {
    std::string printed;
    std::array<char, 4096> piece{};
    pollfd item{process.outputDescriptor(), POLLIN, 0};
    ssize_t count = 1;
    while (count > 0 && ::poll(&item, 1, patience.count()) == 1) {
        count = ::read(process.outputDescriptor(), piece.data(), piece.size());
        printed.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(0, count)));
    }
    const auto status = process.waitFor(patience);
    return printed + (status ? testSupport::describeStatus(*status) : "still running");
}

// What connecting to an endpoint comes to for somebody: 0, or the error.
int connectAs(uid_t user, gid_t hisGroup, const char* endpoint) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string_view path = std::string_view(endpoint).substr(std::string_view("ipc://").size());
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int caller = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::setegid(hisGroup), 0);
    EXPECT_EQ(::seteuid(user), 0);
    const int result = ::connect(caller, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int error = result == 0 ? 0 : errno;
    EXPECT_EQ(::seteuid(0), 0);
    EXPECT_EQ(::setegid(0), 0);
    ::close(caller);
    return error;
}

class Mask : public testing::TestWithParam<const char*> {};

TEST_P(Mask, LeavesSocketsAndLocksToUserAndGroup) {
    testSupport::enterIsolation();
    const ChildProcess board(withMask(GetParam(), {MPEGFE_BOARD, sampleWithAllTables}), {});
    const ChildProcess manager(withMask(GetParam(), {MPEGFE_MANAGER, "NIT", "on"}), {});
    EXPECT_EQ(modesInTheEnd(), forTheGroup);
}

// Each time each of the three is another user: what an earlier one has left must not be in the way.
TEST_P(Mask, LetsUsersOfAGroupWorkTogetherAndNobodyElse) {
    if (!testSupport::enterIsolationWithUsers()) {
        GTEST_SKIP() << "needs root, to be several users";
    }
    const std::filesystem::path directory(wire::directory);
    ASSERT_EQ(::chown(directory.c_str(), firstUser, group), 0);
    ASSERT_EQ(::chmod(directory.c_str(), 0770), 0);
    // Where everybody reaches them; the build need not be such a place.
    const auto reachable = [&](const std::string& file) {
        const std::filesystem::path copy = directory.parent_path() / std::filesystem::path(file).filename();
        std::filesystem::copy_file(file, copy);
        EXPECT_EQ(::chmod(copy.c_str(), 0755), 0);
        return copy.string();
    };
    const std::string boardCopy = reachable(MPEGFE_BOARD);
    const std::string serviceCopy = reachable(MPEGFE_PROGRAM);
    const std::string managerCopy = reachable(MPEGFE_MANAGER);
    const std::string streamCopy = reachable(sampleWithAllTables);
    for (const uid_t user : {firstUser, firstUser + 10}) {
        const ChildProcess board(asUser(user, withMask(GetParam(), {boardCopy, streamCopy})), {});
        ChildProcess manager(
            asUser(user + 1, withMask(GetParam(), {managerCopy, "NIT", "on", "--timeout", "15"})), {});
        for (const char* endpoint : endpoints) {
            while (connectAs(0, 0, endpoint) != 0) { // killed programs leave theirs behind
                std::this_thread::yield();
            }
        }
        EXPECT_EQ(modesInTheEnd(), forTheGroup);
        ASSERT_EQ(::chmod(directory.c_str(), 0777), 0); // so that the sockets themselves are asked
        for (const char* endpoint : endpoints) {
            EXPECT_EQ(connectAs(user + 2, group, endpoint), 0) << endpoint;
            EXPECT_EQ(connectAs(stranger, stranger, endpoint), EACCES) << endpoint;
        }
        ASSERT_EQ(::chmod(directory.c_str(), 0770), 0);
        const ChildProcess service(asUser(user + 2, withMask(GetParam(), {serviceCopy})), {});
        const std::string printed = transcript(manager);
        EXPECT_NE(printed.find(R"("descriptorCount":"2")"), std::string::npos) << printed;
        EXPECT_TRUE(printed.ends_with("exit code 0")) << printed;
    }
}

INSTANTIATE_TEST_SUITE_P(, Mask, testing::Values("000", "022", "077"),
                         [](const auto& mask) { return std::string(mask.param); });

} // namespace
