// The program itself, run against a scripted service; what it prints and how it ends is compared as one text.

#include "reading.h"
#include "scriptedService.h"
#include "support/childProcess.h"
#include "support/isolation.h"
#include "support/patience.h"
#include "wire/endpoints.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

using testSupport::ack;
using testSupport::ChildProcess;
using testSupport::Isolation;
using testSupport::patience;
using testSupport::readToEnd;
using testSupport::readUntil;
using testSupport::ScriptedService;

constexpr const char* emptyPat =
    R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":"0","pidRate":"   0.000Kbps","details":[]}})";
constexpr const char* emptyPidList =
    R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{"pidCount":"0","aggStreamRate":"   0.000Kbps","pids":[]}})";
// As the service writes a radio program: two commas in a row.
constexpr const char* radioDetail =
    R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{"pidCount":"1","details":[{"pidType":"PMT","pidNum":"4096","pgmNum":"1"},,{"pidType":"AUDIO"}]}})";

constexpr const char* patOfTwo =
    R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":"3","pidRate":"   1.500Kbps","details":[{"pgmNum":"0","referencePID":"16"},{"pgmNum":"501","referencePID":"256"},{"pgmNum":"502","referencePID":"512"}]}})";

// Somebody who connects to an endpoint and speaks another protocol.
class Stranger {
  public:
    explicit Stranger(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        connected = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;
    ~Stranger() {
        close(descriptor);
    }

    // Whether the other side has noticed: it speaks first.
    bool isGreeted() const {
        return connected && receive() > 0;
    }
    // ZMTP 3.0 with a security mechanism that nobody knows.
    void askForAnUnknownMechanism() const {
        std::string words("\xFF\0\0\0\0\0\0\0\1\x7F\3\0UNKNOWN", 19);
        words.resize(64, '\0');
        EXPECT_EQ(send(descriptor, words.data(), words.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(words.size()));
    }
    bool isHungUpOn() const {
        ssize_t length = 0;
        while ((length = receive()) > 0) {
        }
        return length == 0 || errno == ECONNRESET;
    }

  private:
    ssize_t receive() const {
        std::array<char, 256> buffer{};
        pollfd readable{descriptor, POLLIN, 0};
        return poll(&readable, 1, patience.count()) == 1 ? read(descriptor, buffer.data(), buffer.size())
                                                         : -1;
    }

    int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool connected = false;
};

// Output, then errors, then how it ended.
std::string transcript(ChildProcess& program) {
    const std::string output = readToEnd(program.outputDescriptor());
    const std::string errors = readToEnd(program.errorDescriptor());
    const auto status = program.waitFor(patience);
    return output + errors + (status ? testSupport::describeStatus(*status) : "still running") + '\n';
}

class Manager : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        isolation = testSupport::enterIsolation();
    }

    static std::unique_ptr<ChildProcess> start(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), MPEGFE_MANAGER);
        return std::make_unique<ChildProcess>(arguments, std::vector<std::string>{});
    }

    // Changes of the endpoint directory are for namespaces of our own only.
    static bool mayChangeDirectory() {
        return isolation == Isolation::namespaces;
    }

    static inline Isolation isolation = Isolation::lock;
};

TEST_F(Manager, printsAcknowledgementAndDocumentAsTheyCome) {
    const auto manager = start({"PAT", "on"});
    ScriptedService service;
    EXPECT_EQ(service.takeRequest(), R"({"dataStream": "PAT", "status": "on"})");
    service.reply(ack);
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + emptyPat + "\nexit code 0\n");
}

TEST_F(Manager, reachesAServiceThatHasBeenThereForLong) {
    ScriptedService service;
    const auto manager = start({"TDT", "off"});
    EXPECT_EQ(service.takeRequest(), R"({"dataStream": "TDT", "status": "off"})");
    service.reply(ack);
    EXPECT_EQ(transcript(*manager), std::string(ack) + "\nexit code 0\n");
}

TEST_F(Manager, waitsForAsManyDocumentsAsItIsTold) {
    const auto manager = start({"PAT", "on", "--documents", "3"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    for (int i = 0; i < 3; ++i) {
        service.sendDocument({emptyPat});
        EXPECT_EQ(service.takeAcknowledgement(), ack);
    }
    const std::string line = std::string(emptyPat) + '\n';
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + line + line + line + "exit code 0\n");
}

TEST_F(Manager, takesADocumentThatIsNoJsonAsItCame) {
    const auto manager = start({"pgmDetail", "3"});
    ScriptedService service;
    EXPECT_EQ(service.takeRequest(), R"({"dataStream": "pgmDetail", "patIndex": "3"})");
    service.reply(ack);
    service.sendDocument({radioDetail});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + radioDetail + "\nexit code 0\n");
}

TEST_F(Manager, dropsFurtherPartsOfADocument) {
    const auto manager = start({"PAT", "on"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    service.sendDocument({emptyPat, "second", "third"});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + emptyPat + "\nexit code 0\n");
}

TEST_F(Manager, printsATableAndNothingElse) {
    const auto manager = start({"pidData", "on", "--table"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    service.sendDocument({emptyPidList});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), "PID list: 0 PIDs, 0.000Kbps\n"
                                    "\n"
                                    "  PID  hex  type  program  index  PMT PID  rate  scrambled\n"
                                    "exit code 0\n");
}

TEST_F(Manager, printsJsonAndNothingElse) {
    const auto manager = start({"PAT", "on", "--json", "--documents", "3"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    for (const char* const document : {patOfTwo, emptyPidList, radioDetail, "hello", emptyPat}) {
        service.sendDocument({document});
        EXPECT_EQ(service.takeAcknowledgement(), ack);
    }
    service.sendDocument({R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":"x"}})"});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    const std::string stray = "mpegfe-manager: a document that answers an earlier request is left out\n";
    EXPECT_EQ(
        transcript(*manager),
        R"({"dataStream":"PAT","programCount":3,"rateBitPerSecond":1500,"programs":[{"programNumber":0,)"
        R"("pmtPid":16},{"programNumber":501,"pmtPid":256},{"programNumber":502,"pmtPid":512}]})"
        "\n"
        R"({"dataStream":"PAT","programCount":0,"rateBitPerSecond":0,"programs":[]})"
        "\n" +
            stray + stray + stray +
            "mpegfe-manager: no JSON for this document: expected a whole number at byte 63; it is left out\n"
            "exit code 1\n");
}

// On a terminal of its own, which shows a name that is a control sequence.
TEST_F(Manager, writesOutWhatATerminalWouldActOn) {
    std::array<char, 64> name{};
    int terminal = -1;
    int line = -1;
    ASSERT_EQ(openpty(&terminal, &line, name.data(), nullptr, nullptr), 0);
    const std::string command = std::string("exec ") + MPEGFE_MANAGER + " PAT on >" + name.data();
    ChildProcess manager({"sh", "-c", command}, {});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    service.sendDocument({"{\"name\":\"\x1B[2J\xE9\"}"});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(readUntil(terminal, "details\":[]}}\r\n"),
              std::string(ack) + "\r\n{\"name\":\"\\u{1B}[2J\\xE9\"}\r\n" + emptyPat + "\r\n");
    EXPECT_TRUE(manager.waitFor(patience));
    close(line);
    close(terminal);
}

TEST_F(Manager, saysThatADocumentHasNoTable) {
    const auto manager = start({"pgmDetail", "3", "--table"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    service.sendDocument({radioDetail});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(
        transcript(*manager),
        std::string(radioDetail) +
            "\nmpegfe-manager: no table for this document: expected \"pidNum\" at byte 159; it is shown "
            "as it came\n"
            "exit code 1\n");
}

TEST_F(Manager, tellsAnEarlierRequestsDocumentFromItsOwn) {
    const auto manager = start({"PAT", "on"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    service.sendDocument({emptyPidList});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + emptyPidList + '\n' + emptyPat +
                                        "\nmpegfe-manager: the document above answers an earlier request\n"
                                        "exit code 0\n");
}

TEST_F(Manager, doesNotCountADocumentThatComesBeforeTheAcknowledgement) {
    const auto manager = start({"PAT", "on"});
    ScriptedService service;
    service.takeRequest();
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    service.reply(ack);
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), std::string(emptyPat) + '\n' + ack + '\n' + emptyPat +
                                        "\nmpegfe-manager: the document above answers an earlier request\n"
                                        "exit code 0\n");
}

TEST_F(Manager, tellsWhyTheServiceRefused) {
    const auto manager = start({"PAT", "on"});
    ScriptedService service;
    service.takeRequest();
    service.reply(R"({"reply": "nak", "reason": "busy"})");
    EXPECT_EQ(transcript(*manager),
              "{\"reply\": \"nak\", \"reason\": \"busy\"}\n"
              "mpegfe-manager: the request was not accepted: expected the reply {\"reply\": \"ack\"}, got "
              "{\"reply\": \"nak\", \"reason\": \"busy\"}; the service refused it: busy\n"
              "exit code 1\n");
}

TEST_F(Manager, doesNotTakeAStrangersReplyForAnAcknowledgement) {
    const auto manager = start({"PAT", "on"});
    ScriptedService service;
    service.takeRequest();
    service.reply("hello");
    EXPECT_EQ(
        transcript(*manager),
        "hello\n"
        "mpegfe-manager: the request was not accepted: expected the reply {\"reply\": \"ack\"}, got hello; "
        "what answers on the request endpoint does not speak mpegFE's protocol\n"
        "exit code 1\n");
}

TEST_F(Manager, saysThatNoServiceIsThere) {
    const auto manager = start({"PAT", "on", "--timeout", "1"});
    EXPECT_EQ(transcript(*manager),
              "mpegfe-manager: no service took the request: expected mpegFE to connect to "
              "ipc:///run/shm/zmq/uRO_MMR_MpegFE within 1 s, got no connection; mpegFE may not be running: "
              "start it, "
              "or everything with ./run --keep\n"
              "exit code 3\n");
}

TEST_F(Manager, saysThatTheServiceIsBusy) {
    const auto manager = start({"PAT", "on", "--timeout", "1"});
    ScriptedService service;
    EXPECT_EQ(service.takeRequest(), R"({"dataStream": "PAT", "status": "on"})");
    EXPECT_EQ(
        transcript(*manager),
        "mpegfe-manager: the request was not acknowledged: expected a reply within 1 s, got none; mpegFE is "
        "busy with an earlier request, most likely still waiting for the parser's records: see that the "
        "parser board is running\n"
        "exit code 3\n");
}

TEST_F(Manager, saysThatADocumentIsMissing) {
    const auto manager = start({"PAT", "on", "--documents", "2", "--timeout", "1"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(
        transcript(*manager),
        std::string(ack) + '\n' + emptyPat +
            "\nmpegfe-manager: the request was acknowledged, but its documents are incomplete: expected 2, "
            "the "
            "next within 1 s, got 1; mpegFE may still be waiting for the parser's records, or the stream has "
            "nothing to show: its console says which\n"
            "exit code 4\n");
}

TEST_F(Manager, stopsAtOnceWhenToldTo) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const auto manager = start({"PAT", "on"});
        ScriptedService service;
        service.takeRequest();
        service.reply(ack);
        service.sendDocument({emptyPidList});
        service.takeAcknowledgement();
        manager->signal(signal);
        const std::string name = signal == SIGINT ? "2 (Interrupt)" : "15 (Terminated)";
        EXPECT_EQ(transcript(*manager),
                  std::string(ack) + '\n' + emptyPidList +
                      "\nmpegfe-manager: the document above answers an earlier request\n"
                      "mpegfe-manager: stopped before the exchange was complete: expected time to finish, "
                      "got signal " +
                      name +
                      "; the service may still send a document; the next mpegfe-manager takes it\n"
                      "exit code " +
                      std::to_string(128 + signal) + '\n');
    }
}

TEST_F(Manager, asksThePatForAProgramsIndex) {
    const auto manager = start({"pgmDetail", "--program", "501"});
    ScriptedService service;
    EXPECT_EQ(service.takeRequest(), R"({"dataStream": "PAT", "status": "on"})");
    service.reply(ack);
    service.sendDocument({patOfTwo});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(service.takeRequest(), R"({"dataStream": "pgmDetail", "patIndex": "1"})");
    service.reply(ack);
    service.sendDocument({radioDetail});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + radioDetail + "\nexit code 0\n");
}

TEST_F(Manager, saysThatThereIsNoSuchProgram) {
    const auto manager = start({"pgmDetail", "--program", "16"});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    service.sendDocument({patOfTwo});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager),
              "mpegfe-manager: there is no such program: expected one of 501, 502, got 16; \"mpegfe-manager "
              "pgmData on --table\" shows them by their names\n"
              "exit code 1\n");
}

TEST_F(Manager, takesAProgramsNumberForItsDetailOnlyAndNotBesideAnIndex) {
    EXPECT_EQ(
        transcript(*start({"PAT", "--program", "501"})),
        "mpegfe-manager: the command line is wrong: expected a data stream and its value, for example "
        "\"pidData on --table\", got an error: --program: for pgmDetail only; see mpegfe-manager --help\n"
        "exit code 2\n");
    EXPECT_EQ(transcript(*start({"pgmDetail", "1", "--program", "501"})),
              "mpegfe-manager: the command line is wrong: expected a data stream and its value, for example "
              "\"pidData on --table\", got an error: VALUE excludes --program; see mpegfe-manager --help\n"
              "exit code 2\n");
    EXPECT_EQ(transcript(*start({"pgmDetail"})),
              "mpegfe-manager: the command line is wrong: expected a data stream and its value, for example "
              "\"pidData on --table\", got an error: VALUE is required; see mpegfe-manager --help\n"
              "exit code 2\n");
}

TEST_F(Manager, takesNothingBesideThePageThatItWouldIgnore) {
    const std::vector<std::vector<std::string>> others{
        {"--table"}, {"--json"}, {"--timeout", "3"}, {"--documents", "2"}, {"--program", "501"}};
    for (const std::vector<std::string>& other : others) {
        std::vector<std::string> words{"--web", "127.0.0.1:0"};
        words.insert(words.end(), other.begin(), other.end());
        EXPECT_EQ(
            transcript(*start(words)),
            "mpegfe-manager: the command line is wrong: expected a data stream and its value, for example "
            "\"pidData on --table\", got an error: " +
                other.front() +
                " excludes --web; see mpegfe-manager --help\n"
                "exit code 2\n");
    }
}

TEST_F(Manager, takesAnIndexBelowZeroForAnIndexAndNotForAnOption) {
    EXPECT_EQ(transcript(*start({"pgmDetail", "-1"})),
              "mpegfe-manager: the request is incomplete: expected a program index from 0 to 58 after "
              "pgmDetail, got \"-1\"; see mpegfe-manager --help\n"
              "exit code 2\n");
}

constexpr const char* sharing =
    "mpegfe-manager: more than one service takes the requests: expected one mpegFE at "
    "ipc:///run/shm/zmq/uRO_MMR_MpegFE, got two or more; a request reaches one of them only: stop all but "
    "one\n";

TEST_F(Manager, noticesASecondService) {
    const auto manager = start({"PAT", "on", "--documents", "2"});
    ScriptedService service;
    service.takeRequest();
    {
        const ScriptedService second;
        EXPECT_EQ(readUntil(manager->errorDescriptor(), "\n"), sharing);
    }
    const ScriptedService third; // is no news
    service.reply(ack);
    for (int i = 0; i < 2; ++i) {
        service.sendDocument({emptyPat});
        EXPECT_EQ(service.takeAcknowledgement(), ack);
    }
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + emptyPat + '\n' + emptyPat + "\nexit code 0\n");
}

TEST_F(Manager, doesNotTakeAServiceThatComesBackForASecondOne) {
    const auto manager = start({"PAT", "on", "--documents", "20"});
    auto service = std::make_unique<ScriptedService>();
    service->takeRequest();
    service->reply(ack);
    std::string documents;
    for (int i = 0; i < 20; ++i) {
        service.reset();
        service = std::make_unique<ScriptedService>();
        service->awaitRequestConnection();
        service->sendDocument({emptyPat});
        EXPECT_EQ(service->takeAcknowledgement(), ack);
        documents += std::string(emptyPat) + '\n';
    }
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + documents + "exit code 0\n");
}

TEST_F(Manager, doesNotTakeAStrangerForASecondService) {
    const auto manager = start({"PAT", "on"});
    ScriptedService service;
    service.takeRequest();
    for (int i = 0; i < 3; ++i) {
        const Stranger refused("/run/shm/zmq/uRO_MMR_MpegFE");
        EXPECT_TRUE(refused.isGreeted());
        refused.askForAnUnknownMechanism();
        EXPECT_TRUE(refused.isHungUpOn());
        const Stranger silent("/run/shm/zmq/uRO_MMR_MpegFE");
        EXPECT_TRUE(silent.isGreeted());
    }
    service.reply(ack);
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*manager), std::string(ack) + '\n' + emptyPat + "\nexit code 0\n");
}

TEST_F(Manager, leavesTheEndpointsToWhoeverHoldsThem) {
    const auto first = start({"PAT", "on"});
    ScriptedService service;
    service.takeRequest();
    const auto second = start({"PAT", "on"});
    const std::string refusal = transcript(*second);
    std::string holder;
    std::ifstream(WIRE_DIRECTORY "/mpegfe-manager.lock") >> holder;
    EXPECT_EQ(refusal,
              "mpegfe-manager: the service already has a media manager: expected nobody to hold the lock "
              "/run/shm/zmq/mpegfe-manager.lock, got process " +
                  holder +
                  "; wait until it has ended, or stop it\n"
                  "exit code 5\n");
    service.reply(ack);
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    EXPECT_EQ(transcript(*first), std::string(ack) + '\n' + emptyPat + "\nexit code 0\n");
}

TEST_F(Manager, saysThatTheDirectoryIsMissing) {
    if (!mayChangeDirectory()) {
        GTEST_SKIP() << "needs a /run/shm of its own";
    }
    std::filesystem::remove_all(wire::directory);
    const auto manager = start({"PAT", "on"});
    EXPECT_EQ(transcript(*manager),
              "mpegfe-manager: cannot use the endpoints in /run/shm/zmq: expected a directory in which files "
              "can be "
              "made, got the error \"No such file or directory\"; make the directory with \"mkdir -p -m 0770 "
              "/run/shm/zmq\"\n"
              "exit code 5\n");
}

TEST_F(Manager, saysThatItMayNotWriteTheDirectory) {
    if (!mayChangeDirectory()) {
        GTEST_SKIP() << "needs a /run/shm of its own";
    }
    std::filesystem::permissions(wire::directory, std::filesystem::perms::none);
    // Root may write anywhere unless it has lost that right.
    ChildProcess manager({"setpriv", "--bounding-set=-dac_override,-dac_read_search", "--inh-caps=-all",
                          MPEGFE_MANAGER, "PAT", "on"},
                         {});
    EXPECT_EQ(transcript(manager), "mpegfe-manager: cannot use the endpoints in /run/shm/zmq: expected a "
                                   "directory in which files can be "
                                   "made, got the error \"Permission denied\"; run as the user that owns the "
                                   "directory, or as one of its "
                                   "group\n"
                                   "exit code 5\n");
}

TEST_F(Manager, saysThatAnEndpointIsNoSocket) {
    if (!mayChangeDirectory()) {
        GTEST_SKIP() << "needs a /run/shm of its own";
    }
    std::filesystem::create_directories(
        std::string(wire::requestEndpoint).substr(std::string("ipc://").size()) + "/occupied");
    const auto manager = start({"PAT", "on"});
    EXPECT_EQ(
        transcript(*manager),
        "mpegfe-manager: cannot bind ipc:///run/shm/zmq/uRO_MMR_MpegFE: expected a free path that can be "
        "written, got the error \"Address already in use\"; remove what stands there, or run as the user "
        "that owns it\n"
        "exit code 5\n");
}

TEST_F(Manager, followsNoLinkToAnotherFile) {
    if (!mayChangeDirectory()) {
        GTEST_SKIP() << "needs a /run/shm of its own";
    }
    std::filesystem::create_symlink("/nowhere", WIRE_DIRECTORY "/mpegfe-manager.lock");
    const auto manager = start({"PAT", "on"});
    EXPECT_EQ(transcript(*manager),
              "mpegfe-manager: cannot use the lock /run/shm/zmq/mpegfe-manager.lock: expected a file of its "
              "own, got a link; whoever put it there may mean harm: remove it, and see who may write to the "
              "directory\n"
              "exit code 5\n");
}

// Board and service of a user, and a manager that root starts.
TEST(ManagerOfRoot, isReachedByAnotherUsersService) {
    constexpr uid_t user = 4242;
    constexpr gid_t group = 4343;
    if (!testSupport::enterIsolationWithUsers()) {
        GTEST_SKIP() << "needs root, to be several users";
    }
    ASSERT_EQ(chown(wire::directory, user, group), 0);
    std::filesystem::permissions(wire::directory, std::filesystem::perms(0770));
    ChildProcess manager({MPEGFE_MANAGER, "PAT", "on"}, {});
    ASSERT_EQ(setegid(group), 0);
    ASSERT_EQ(seteuid(user), 0);
    ScriptedService service;
    EXPECT_EQ(service.takeRequest(), R"({"dataStream": "PAT", "status": "on"})");
    service.reply(ack);
    for (const std::string endpoint : {wire::requestEndpoint, wire::documentEndpoint}) {
        struct stat status {};
        EXPECT_EQ(stat(endpoint.substr(std::string("ipc://").size()).c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, user);
        EXPECT_EQ(status.st_gid, group);
    }
    service.sendDocument({emptyPat});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    ASSERT_EQ(seteuid(0), 0);
    ASSERT_EQ(setegid(0), 0);
    EXPECT_EQ(transcript(manager), std::string(ack) + '\n' + emptyPat + "\nexit code 0\n");
}

TEST_F(Manager, saysThatItsOutputIsLost) {
    ChildProcess manager({"sh", "-c", "exec \"$0\" TDT off >/dev/full", MPEGFE_MANAGER}, {});
    ScriptedService service;
    service.takeRequest();
    service.reply(ack);
    EXPECT_EQ(transcript(manager),
              "mpegfe-manager: cannot write to standard output: what was printed is incomplete\n"
              "exit code 1\n");
}

TEST_F(Manager, explainsAWrongCommandLine) {
    const auto manager = start({"PAT", "on", "--timeout", "0"});
    EXPECT_EQ(transcript(*manager),
              "mpegfe-manager: the command line is wrong: expected a data stream and its value, for example "
              "\"pidData on --table\", got an error: --timeout: Value 0 not in range 1 to 86400; see "
              "mpegfe-manager "
              "--help\n"
              "exit code 2\n");
}

TEST_F(Manager, tellsItsVersion) {
    const auto manager = start({"--version"});
    EXPECT_EQ(transcript(*manager), "mpegfe-manager 1.1.0\nexit code 0\n");
}

} // namespace
