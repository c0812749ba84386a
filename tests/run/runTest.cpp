// ./run as a newcomer meets it: what it prints, what it refuses, and that it leaves nothing behind.

#include "support/childProcess.h"
#include "support/isolation.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <regex>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testSupport::ChildProcess;
using testSupport::Isolation;

const fs::path root = MPEGFE_ROOT;
const fs::path endpoints = "/run/shm/zmq";
constexpr auto patience = 300s;
constexpr std::uint16_t parserPort = 5101;

// Takes what a pipe holds until it ends, or until the text holds `until`.
std::string readPipe(int descriptor, const std::string& until = {}) {
    std::string text;
    std::array<char, 4096> buffer{};
    pollfd readable{descriptor, POLLIN, 0};
    while (poll(&readable, 1, 300'000) == 1) {
        const ssize_t length = read(descriptor, buffer.data(), buffer.size());
        if (length == 0 || (length < 0 && errno != EAGAIN)) {
            break;
        }
        text.append(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
        if (!until.empty() && text.find(until) != std::string::npos) {
            break;
        }
    }
    return text;
}

std::string transcript(ChildProcess& program) {
    const std::string output = readPipe(program.outputDescriptor());
    const std::string errors = readPipe(program.errorDescriptor());
    const auto status = program.waitFor(patience);
    return output + errors + (status ? testSupport::describeStatus(*status) : "still running") + '\n';
}

// Root may read and write anything unless it has lost that right.
std::vector<std::string> withoutRootsRights(std::vector<std::string> words) {
    words.insert(words.begin(),
                 {"setpriv", "--bounding-set=-dac_override,-dac_read_search", "--inh-caps=-all"});
    return words;
}

// With a folder of commands that stand in for the system's.
std::vector<std::string> withCommands(const fs::path& stand, std::vector<std::string> words) {
    words.insert(words.begin(), {"env", "PATH=" + stand.string() + ':' + std::getenv("PATH")});
    return words;
}

// Names of the project's own programs that run in this process's mount namespace.
std::vector<std::string> programsLeftRunning() {
    std::vector<std::string> names;
    std::error_code gone;
    const fs::path here = fs::read_symlink("/proc/self/ns/mnt");
    for (const auto& process : fs::directory_iterator("/proc")) {
        std::string name;
        std::getline(std::ifstream(process.path() / "comm") >> std::ws, name);
        if (name.rfind("mpegF", 0) == 0 || name.rfind("mpegfe-", 0) == 0) {
            if (fs::read_symlink(process.path() / "ns/mnt", gone) == here) {
                names.push_back(name);
            }
        }
    }
    return names;
}

class Run : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        isolation = testSupport::enterIsolation();
    }

    void SetUp() override {
        if (isolation != Isolation::namespaces) {
            GTEST_SKIP() << "needs a network and a /run/shm of its own";
        }
        fs::current_path(root); // paths below it are shown without it
        fs::remove_all(endpoints);
        fs::create_directories(folder);
    }

    void TearDown() override {
        fs::remove_all(folder);
    }

    static std::string result(const std::vector<std::string>& arguments) {
        ChildProcess run(command(arguments), {});
        return transcript(run);
    }

    static std::vector<std::string> command(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), (root / "run").string());
        return arguments;
    }

    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(folder / name) << content;
        return (folder / name).string();
    }

    static void expectNothingLeft() {
        EXPECT_THAT(programsLeftRunning(), testing::IsEmpty());
        EXPECT_FALSE(fs::exists(endpoints));
    }

    fs::path folder = fs::temp_directory_path() / ("mpegfe-run-" + std::to_string(getpid()));
    static inline Isolation isolation = Isolation::lock;
};

using RunRefuses = Run;
using RunShows = Run;

TEST_F(RunRefuses, unknownOptions) {
    EXPECT_EQ(result({"--fast"}), "run: there is no option --fast (see ./run --help)\nexit code 2\n");
}

TEST_F(RunRefuses, twoStreams) {
    EXPECT_EQ(result({"a.ts", "b.ts"}),
              "run: one transport stream only, not a.ts and b.ts (see ./run --help)\nexit code 2\n");
}

TEST_F(RunRefuses, aPatienceWithoutSeconds) {
    for (const char* seconds : {"0", "-1", "soon", ""}) {
        const std::string given = *seconds == '\0' ? "nothing" : seconds;
        EXPECT_EQ(result({"--patience", seconds}), "run: --patience takes seconds, 1 to 99999, not " + given +
                                                       " (see ./run --help)\nexit code 2\n");
    }
    EXPECT_EQ(result({"--patience"}),
              "run: --patience takes seconds, 1 to 99999, not nothing (see ./run --help)\nexit code 2\n");
}

TEST_F(RunRefuses, streamsThatAreNotThere) {
    EXPECT_EQ(
        result({"/nowhere/a.ts"}),
        "run: there is no file /nowhere/a.ts: give the path of a transport stream, or none for the sample\n"
        "exit code 1\n");
    expectNothingLeft();
}

TEST_F(RunRefuses, foldersAndEmptyFiles) {
    EXPECT_EQ(result({folder.string()}),
              "run: " + folder.string() +
                  " is not a file: give the path of a transport stream\nexit code 1\n");
    const std::string empty = file("empty.ts", "");
    EXPECT_EQ(result({empty}), "run: " + empty + " is empty: give a transport stream\nexit code 1\n");
}

TEST_F(RunRefuses, streamsThatItMayNotRead) {
    const std::string secret = file("secret.ts", "G");
    fs::permissions(secret, fs::perms::none);
    ChildProcess run(withoutRootsRights(command({secret})), {});
    EXPECT_THAT(transcript(run),
                testing::MatchesRegex("run: " + secret +
                                      " may not be read by .*: change its permissions, or run as "
                                      "its owner\nexit code 1\n"));
}

TEST_F(RunRefuses, aParserPortInUse) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(parserPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    EXPECT_EQ(result({}),
              "run: TCP port 5101 is in use, and the service knows no other: stop what listens there (ss "
              "-ltnp 'sport = :5101' names it)\nexit code 1\n");
    expectNothingLeft();
    close(listener);
}

TEST_F(RunRefuses, aSecondService) {
    // Only the name of a process counts.
    const fs::path impostor = folder / "mpegFE";
    fs::copy_file("/bin/sleep", impostor);
    ChildProcess other({impostor.string(), "600"}, {});
    EXPECT_THAT(result({}), testing::MatchesRegex(
                                "run: mpegFE is already running \\(process [0-9]+\\) and would take the "
                                "requests: stop it first\nexit code 1\n"));
    EXPECT_FALSE(fs::exists(endpoints));
}

TEST_F(RunRefuses, aSecondRun) {
    fs::create_directories(endpoints);
    ChildProcess other(
        {"flock", "--no-fork", endpoints / "mpegfe-run.lock", "sh", "-c", "echo locked; exec sleep 600"}, {});
    EXPECT_EQ(readPipe(other.outputDescriptor(), "locked"), "locked\n");
    std::ofstream(endpoints / "mpegfe-run.lock") << "kill 1000001 1000002\n";
    EXPECT_EQ(result({}),
              "run: another ./run is at work, or has left its board and service running: stop it first (kill "
              "1000001 1000002)\nexit code 1\n");
    EXPECT_TRUE(fs::exists(endpoints / "mpegfe-run.lock"));
}

TEST_F(RunRefuses, toStopWhatIsAtWork) {
    fs::create_directories(endpoints);
    ChildProcess other(
        {"flock", "--no-fork", endpoints / "mpegfe-run.lock", "sh", "-c", "echo locked; exec sleep 600"}, {});
    EXPECT_EQ(readPipe(other.outputDescriptor(), "locked"), "locked\n");
    std::ofstream(endpoints / "mpegfe-run.lock") << "kill 1000001\n";
    EXPECT_EQ(result({"--stop"}),
              "run: another ./run is at work: stop it first (kill 1000001)\nexit code 1\n");
    EXPECT_TRUE(fs::exists(endpoints / "mpegfe-run.lock"));
}

TEST_F(RunRefuses, aStreamToStop) {
    EXPECT_EQ(result({"--stop", "a.ts"}),
              "run: --stop takes no transport stream (see ./run --help)\nexit code 2\n");
}

TEST_F(RunRefuses, anEndpointDirectoryItMayNotWrite) {
    fs::create_directories(endpoints);
    fs::permissions(endpoints, fs::perms::none);
    ChildProcess run(withoutRootsRights(command({})), {});
    EXPECT_THAT(transcript(run),
                testing::MatchesRegex("run: /run/shm/zmq belongs to .* and may not be written by .*: "
                                      "run as that user, or remove the directory when nothing uses "
                                      "it\nexit code 1\n"));
}

TEST_F(RunRefuses, toWorkWhereTheEndpointDirectoryCannotBeMade) {
    fs::permissions("/run/shm/", fs::perms::owner_read | fs::perms::owner_exec);
    ChildProcess run(withoutRootsRights(command({})), {});
    EXPECT_THAT(transcript(run),
                testing::MatchesRegex("run: cannot make /run/shm/zmq, where the service meets its peers; "
                                      "as root: mkdir -p /run/shm/zmq && chown .* /run/shm/zmq\n"
                                      "exit code 1\n"));
    fs::permissions("/run/shm/", fs::perms::owner_all);
}

TEST_F(RunRefuses, toGoOnAfterAFailedBuildAndShowsItsEnd) {
    fs::create_directories(folder / "bin");
    std::ofstream(folder / "bin/cmake") << "#!/bin/sh\necho no compiler today\nexit 1\n";
    fs::permissions(folder / "bin/cmake", fs::perms::owner_all);
    ChildProcess run(withCommands(folder / "bin", command({})), {});
    const std::string text = transcript(run);
    EXPECT_THAT(text, HasSubstr("no compiler today\nrun: the build failed; the end of "));
    EXPECT_THAT(text, HasSubstr("build/run/build.log is above\nexit code 1\n"));
    expectNothingLeft();
}

// A checkout of ./run alone, whose build folder was configured for a source folder.
class BuildFolder : public Run {
  protected:
    // What ./run asks of CMake, which fails.
    std::string asked(const fs::path& sourceFolder) const {
        const fs::path copy = folder / "copy";
        fs::create_directories(copy / "build/release");
        fs::copy_file(root / "run", copy / "run", fs::copy_options::overwrite_existing);
        for (const char* part : {"packaging", "wire"}) {
            fs::copy(root / part, copy / part,
                     fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        }
        std::ofstream(copy / "build/release/CMakeCache.txt")
            << "CMAKE_HOME_DIRECTORY:INTERNAL=" << sourceFolder.string() << '\n';
        std::ofstream(copy / "build/release/build.ninja") << "# of " << sourceFolder.string() << '\n';
        std::ofstream(copy / "a.ts") << "G";
        fs::create_directories(folder / "bin");
        std::ofstream(folder / "bin/cmake") << "#!/bin/sh\necho asked: \"$@\"\nexit 1\n";
        fs::permissions(folder / "bin/cmake", fs::perms::owner_all);
        ChildProcess run(withCommands(folder / "bin", {copy / "run", copy / "a.ts"}), {});
        return transcript(run);
    }
};

TEST_F(BuildFolder, isConfiguredAnewInACopiedCheckout) {
    const std::string text = asked("/nowhere/original");
    EXPECT_THAT(text, HasSubstr("Configuring build/release anew: it was made for /nowhere/original\n"));
    EXPECT_THAT(text, HasSubstr("asked: --preset release\n"));
    EXPECT_FALSE(fs::exists(folder / "copy/build/release/CMakeCache.txt"));
}

TEST_F(BuildFolder, isConfiguredOnlyOnce) {
    fs::create_directory_symlink(folder, folder / "by-another-name");
    for (const fs::path& name : {folder / "copy", folder / "by-another-name/copy"}) {
        const std::string text = asked(name);
        EXPECT_THAT(text, testing::Not(HasSubstr("Configuring")));
        EXPECT_THAT(text, HasSubstr("asked: --build --preset release --target "));
        EXPECT_TRUE(fs::exists(folder / "copy/build/release/CMakeCache.txt"));
    }
}

TEST_F(RunRefuses, toBuildOnWhenItIsStopped) {
    fs::create_directories(folder / "bin");
    const std::string started = folder / "started";
    ASSERT_EQ(mkfifo(started.c_str(), 0600), 0);
    std::ofstream(folder / "bin/cmake") << "#!/bin/sh\necho started >" + started + "\nsleep 600\n";
    fs::permissions(folder / "bin/cmake", fs::perms::owner_all);
    const int event = open(started.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ChildProcess run(withCommands(folder / "bin", command({})), {});
    EXPECT_EQ(readPipe(event, "started"), "started\n");
    run.signal(SIGINT);
    EXPECT_THAT(transcript(run), HasSubstr("signal 2 (Interrupt)\n"));
    expectNothingLeft();
    close(event);
}

// The list of packages as it is, with a system on which every package but one is installed.
class PackagesAreInstalled : public Run {
  protected:
    void SetUp() override {
        Run::SetUp();
        stand("dpkg-query", "case $* in *libjansson-dev*) exit 1 ;; esac; echo installed");
        stand("id", "echo 0");
        for (const char* tool : {"sh", "dirname", "sed", "env"}) {
            fs::create_symlink(fs::path("/usr/bin") / tool, folder / tool);
        }
    }

    // A command that stands in for the system's.
    void stand(const std::string& name, const std::string& script) const {
        std::ofstream(folder / name) << "#!/bin/sh\n" << script << '\n';
        fs::permissions(folder / name, fs::perms::owner_all);
    }

    std::string install() const {
        ChildProcess program(
            {"env", "PATH=" + folder.string(), (root / "packaging/install-packages").string()}, {});
        return transcript(program);
    }
};

TEST_F(PackagesAreInstalled, withoutAWordWhenNoneIsMissing) {
    stand("dpkg-query", "echo installed");
    EXPECT_EQ(install(), "exit code 0\n");
}

TEST_F(PackagesAreInstalled, fromTheSystemsRegistry) {
    stand("apt-get", "echo \"$@\" >>'" + (folder / "calls").string() + '\'');
    EXPECT_EQ(install(), "Installing libjansson-dev\nexit code 0\n");
    std::stringstream calls;
    calls << std::ifstream(folder / "calls").rdbuf();
    EXPECT_EQ(calls.str(), "--quiet --yes --no-install-recommends update\n"
                           "--quiet --yes --no-install-recommends install libjansson-dev\n");
}

TEST_F(PackagesAreInstalled, orTheReasonIsShown) {
    stand("apt-get", "echo 'E: no route to the mirror'; exit 100");
    EXPECT_EQ(install(),
              "Installing libjansson-dev\n"
              "E: no route to the mirror\n"
              "install-packages: apt-get could not install: libjansson-dev (its own words are above)\n"
              "exit code 1\n");
}

TEST_F(PackagesAreInstalled, byRootOnly) {
    stand("id", "echo 1000");
    EXPECT_EQ(install(),
              "install-packages: packages are missing and there is no sudo; run as root: apt-get install "
              "libjansson-dev\nexit code 1\n");
    stand("sudo", "echo sudo \"$@\"; exit 1");
    EXPECT_THAT(install(), HasSubstr("sudo env DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes "
                                     "--no-install-recommends update\n"));
}

TEST_F(PackagesAreInstalled, onDebianOnly) {
    fs::remove(folder / "dpkg-query");
    EXPECT_THAT(
        install(),
        HasSubstr("install-packages: this is no Debian system: install the like of the packages in "));
}

// The rates depend on where in the stream the board is; everything else does not.
std::string withoutRates(const std::string& text) {
    return std::regex_replace(text, std::regex(" +([0-9]+\\.[0-9]{3}[MK]bps|rate)"), " #");
}

TEST_F(RunShows, theSamplesPidsAndPrograms) {
    EXPECT_EQ(withoutRates(result({})), R"(Showing samples/three-programs.ts

PID list: 14 PIDs, #

   PID  hex     type     program  index  PMT PID #  scrambled
     0  0x0000  PAT            -      -        - #  no
    17  0x0011  SDT            -      -        - #  no
  4352  0x1100  PMT          101      1     4352 #  no
  4353  0x1101  PMT          102      2     4353 #  no
  4354  0x1102  PMT          103      3     4354 #  no
    16  0x0010  NIT            -      -        - #  no
   273  0x0111  VID+PCR      101      1     4352 #  no
   306  0x0132  AUDIO        103      3     4354 #  no
   289  0x0121  VID+PCR      102      2     4353 #  no
  8191  0x1FFF  NULL           -      -        - #  no
   275  0x0113  AUDIO        101      1     4352 #  no
   290  0x0122  AUDIO        102      2     4353 #  no
   274  0x0112  AUDIO        101      1     4352 #  no
   291  0x0123  AUDIO        102      2     4353 #  no

Program list: 3 programs, 0 scrambled, #

  program  index  service       provider       type  PMT PID  PIDs #  CA  scrambled
      101      1  Harbour One   Harbour Media  TV       4352     3 #  no  no
      102      2  Télé Médiane  Médiane        TV       4353     3 #  no  no
      103      3  Radio Küste   Küstenfunk     TV       4354     1 #  no  no
exit code 0
)");
    expectNothingLeft();
}

TEST_F(RunShows, whyTheBoardEnded) {
    const std::string noStream = file("letter.ts", std::string(100'000, 'x'));
    const std::string text = result({noStream});
    EXPECT_THAT(text, HasSubstr("mpegfe-board: "));
    EXPECT_THAT(text, HasSubstr("\nrun: the board has ended; its own words are above\nexit code 1\n"));
    expectNothingLeft();
}

TEST_F(RunShows, emmPidsAsSuch) {
    const std::string text = withoutRates(result({(root / "samples/all-tables.ts").string()}));
    EXPECT_THAT(text, HasSubstr("\n  1552  0x0610  EMM            -      -        - #  no\n"));
    EXPECT_THAT(text, HasSubstr("\n  1553  0x0611  EMM            -      -        - #  no\n"));
    EXPECT_THAT(text, HasSubstr("\n  1537  0x0601  ECM          101      1     4352 #  no\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("Unk")));
    expectNothingLeft();
}

// A stream of nothing but null packets: it has no program to tell about.
std::string nullPackets() {
    std::string packet(188, '\xff');
    packet.replace(0, 4, "\x47\x1f\xff\x10");
    std::string stream;
    for (int i = 0; i < 5000; ++i) {
        stream += packet;
    }
    return stream;
}

TEST_F(RunShows, whatThereIsOfAStreamWithoutPrograms) {
    const std::string stream = file("null.ts", nullPackets());
    EXPECT_EQ(withoutRates(result({stream})), "Showing " + stream + R"(

PID list: 1 PID, #

   PID  hex     type  program  index  PMT PID #  scrambled
  8191  0x1FFF  NULL        -      -        - #  no

No program list: neither a PAT nor an SDT of this stream names a program.
exit code 0
)");
    expectNothingLeft();
}

// The packets of a stream but those of a PID.
std::string streamWithout(const fs::path& path, unsigned unwanted) {
    constexpr std::size_t packetSize = 188;
    std::stringstream whole;
    whole << std::ifstream(path).rdbuf();
    const std::string bytes = whole.str();
    std::string rest;
    for (std::size_t at = 0; at + packetSize <= bytes.size(); at += packetSize) {
        const auto high = static_cast<unsigned char>(bytes[at + 1]);
        const auto low = static_cast<unsigned char>(bytes[at + 2]);
        if (((high & 0x1FU) << 8 | low) != unwanted) {
            rest += bytes.substr(at, packetSize);
        }
    }
    return rest;
}

TEST_F(RunShows, theServicesOfAStreamWithoutAPat) {
    const std::string text =
        result({file("no-pat.ts", streamWithout(root / "samples/three-programs.ts", 0))});
    EXPECT_THAT(text, HasSubstr("\nProgram list: 3 programs, "));
    EXPECT_THAT(text, HasSubstr("  Harbour One   Harbour Media  TV "));
    EXPECT_THAT(text, testing::EndsWith("\nexit code 0\n"));
}

TEST_F(RunShows, theProgramsOfAStreamWithoutAnSdt) {
    const std::string text =
        result({file("no-sdt.ts", streamWithout(root / "samples/three-programs.ts", 17))});
    EXPECT_THAT(text, HasSubstr("(the stream has no SDT: the names are made from the PAT)\n"));
    EXPECT_THAT(text, HasSubstr("      101      1  Program 101  "));
    EXPECT_THAT(text, testing::EndsWith("\nexit code 0\n"));
}

// Sends a stream to a UDP port of this machine, over and over, as long as it lives.
class Sender {
  public:
    Sender(const fs::path& stream, std::uint16_t port) {
        std::stringstream whole;
        whole << std::ifstream(stream).rdbuf();
        bytes = whole.str();
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        thread = std::thread([this] { send(); });
    }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;
    ~Sender() {
        stopping = true;
        thread.join();
    }

  private:
    static constexpr std::size_t datagramSize = std::size_t{7} * 188;
    static constexpr auto pause = 4463us; // at the 2.36 Mbit/s of the sample

    void send() const {
        const int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        for (std::size_t at = 0; !stopping; at = at + datagramSize < bytes.size() ? at + datagramSize : 0) {
            const std::string datagram = bytes.substr(at, datagramSize);
            sendto(sender, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                   sizeof address);
            std::this_thread::sleep_for(pause);
        }
        close(sender);
    }

    std::string bytes;
    sockaddr_in address{};
    std::atomic<bool> stopping = false;
    std::thread thread;
};

TEST_F(RunShows, aLiveSource) {
    const Sender sender(root / "samples/three-programs.ts", 5000);
    const std::string text = withoutRates(result({"udp://127.0.0.1:5000"}));
    EXPECT_THAT(text,
                testing::StartsWith("Showing udp://127.0.0.1:5000, once it comes; waiting 60 s for it\n\n"
                                    "PID list: 14 PIDs, #\n"));
    EXPECT_THAT(text, HasSubstr("\n   273  0x0111  VID+PCR      101      1     4352 #  no\n"));
    EXPECT_THAT(
        text, HasSubstr("\n      103      3  Radio Küste   Küstenfunk     TV       4354     1 #  no  no\n"));
    EXPECT_THAT(text, testing::EndsWith("\nexit code 0\n"));
    expectNothingLeft();
}

TEST_F(RunShows, thatNobodySendsALiveSource) {
    const std::string text = result({"--patience", "3", "rtp://127.0.0.1:5000"});
    EXPECT_THAT(
        text, HasSubstr("mpegfe-board: no packets yet: expected a running stream, got silence; waiting for "
                        "it\n"
                        "run: nothing has come from rtp://127.0.0.1:5000 in 3 s: see that it is sent there; "
                        "the board's own words are above\n"
                        "exit code 1\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("mpegfe-manager")));
    expectNothingLeft();
}

TEST_F(RunShows, whyTheBoardTakesNoSuchAddress) {
    EXPECT_THAT(
        result({"file://127.0.0.1:5000"}),
        testing::ContainsRegex("mpegfe-board: cannot open file://127.0.0.1:5000: .*\nrun: the board has "
                               "ended; its own words are above\nexit code 1\n"));
    expectNothingLeft();
}

TEST_F(RunShows, nothingOnceItIsStopped) {
    for (const int signal : {SIGINT, SIGTERM}) {
        ChildProcess run(command({file("null.ts", nullPackets())}), {});
        EXPECT_THAT(readPipe(run.outputDescriptor(), "Showing "), HasSubstr("Showing "));
        run.signal(signal);
        EXPECT_THAT(transcript(run), HasSubstr("signal " + std::to_string(signal) + " ("));
        expectNothingLeft();
    }
}

TEST_F(RunShows, aPageUntilItIsInterrupted) {
    ChildProcess run(command({"--web"}), {});
    EXPECT_EQ(readPipe(run.errorDescriptor(), "/\n"),
              "mpegfe-manager: the page is at http://127.0.0.1:8080/\n");
    run.signal(SIGINT);
    EXPECT_EQ(transcript(run),
              "Showing samples/three-programs.ts\n"
              "Ctrl-C ends the page, board and service. Their consoles: build/run/board.log, "
              "build/run/service.log\n"
              "signal 2 (Interrupt)\n");
    expectNothingLeft();
}

TEST_F(RunShows, howToGoOnWhenItKeepsBoardAndService) {
    const std::string text = result({"--keep"});
    EXPECT_THAT(text, testing::EndsWith("\nStop them with:\n  ./run --stop\nexit code 0\n"));
    EXPECT_THAT(programsLeftRunning(), testing::UnorderedElementsAre("mpegFE", "mpegfe-board"));

    const std::string manager = "build/release/manager/mpegfe-manager";
    EXPECT_THAT(text, HasSubstr("  " + manager + " pgmDetail --program 101\n"));
    ChildProcess request({manager, "pgmDetail", "--program", "101"}, {});
    EXPECT_THAT(transcript(request), HasSubstr(R"("pgmNum":"101")"));

    EXPECT_THAT(result({}), HasSubstr("stop it first (./run --stop)\nexit code 1\n"));
    EXPECT_EQ(result({"--stop"}), "Board and service are stopped.\nexit code 0\n");
    expectNothingLeft();
    EXPECT_EQ(result({"--stop"}), "Nothing is running.\nexit code 0\n");
}

TEST_F(RunShows, noTracesOfWhatEndedByItselfOnceItIsStopped) {
    EXPECT_THAT(result({"--keep"}), testing::EndsWith("\nexit code 0\n"));
    std::ifstream lock(endpoints / "mpegfe-run.lock");
    std::string how;
    std::string madeEndpoints;
    pid_t service = 0;
    pid_t board = 0;
    std::getline(lock, how);
    lock >> madeEndpoints >> service >> board;
    ASSERT_GT(service, 1);
    ASSERT_GT(board, 1);
    kill(service, SIGKILL);
    kill(board, SIGKILL);
    EXPECT_EQ(result({"--stop"}), "Board and service are stopped.\nexit code 0\n");
    expectNothingLeft();
}

} // namespace
