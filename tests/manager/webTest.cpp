// The page's server as browsers meet it: the program itself beside a scripted service.

#include "httpConnection.h"
#include "scriptedService.h"
#include "support/childProcess.h"
#include "support/isolation.h"
#include "support/patience.h"

#include "web/webServer.h"

#include "companions/json.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <list>
#include <map>
#include <memory>
#include <netinet/in.h>
#include <poll.h>
#include <regex>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using testSupport::ack;
using testSupport::ChildProcess;
using testSupport::HttpConnection;
using testSupport::patience;
using testSupport::ScriptedService;

// What a service answers, by the data stream.
using Answers = std::map<std::string, std::string>;

const Answers smallStream{
    {"pidData",
     R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{"pidCount":"1","aggStreamRate":"   3.250Mbps","pids":[{"patIndex":"1","pidOrder":"0","pidNum":"256","pidType":"4","referencePID":"4096","pgmNum":"1","pidRate":"   3.058Mbps","scrambled":"0","description":"VIDEO"}]}})"},
    {"pgmData",
     R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{"svcCount":"1","derived":"1","aggStreamRate":"   3.250Mbps","scrambledCount":"0","pgms":[{"pgmNum":"1","patIndex":"1","svcType":"1","referencePID":"4096","pidCount":"1","pgmRate":"   3.250Mbps","caFlag":"0","allScrambled":"0","svcProvider":"Provider A","svcName":"News One"}]}})"},
    {"pgmDetail",
     R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{"pidCount":"0","details":[{"pidType":"PMT","pidNum":"4096","pgmNum":"1"},]}})"},
    {"CAT",
     R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{"pidCount":"0","tableID":"0x1","pidRate":"   0.000Kbps","details":"noServices"}})"},
    {"PAT",
     R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":"1","pidRate":"   1.500Kbps","details":[{"pgmNum":"1","referencePID":"4096"}]}})"},
};

constexpr const char* safeguards =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cache-Control: no-cache\r\n";

constexpr const char* lookHeader = "Mpegfe-Look: 1\r\n";

// An answer's head in the order of its lines.
std::string head(const std::string& status, const std::string& lines, std::size_t length) {
    return "HTTP/1.1 " + status + "\r\n" + lines + safeguards + "Content-Length: " + std::to_string(length) +
           "\r\n\r\n";
}

std::string plain(const std::string& status, const std::string& body, const std::string& lines = {}) {
    return head(status, "Content-Type: text/plain; charset=utf-8\r\n" + lines, body.size()) + body;
}

std::string bodyOf(const std::string& answer) {
    return answer.substr(answer.find("\r\n\r\n") + 4);
}

std::string contentOf(const std::filesystem::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// Every time is TIME, and how long an answer took is MS.
std::string withoutTimes(const std::string& text) {
    return std::regex_replace(std::regex_replace(text, std::regex("[0-9]{13}"), "TIME"),
                              std::regex("\"answerMs\":[0-9]+"), "\"answerMs\":MS");
}

std::string streamOf(const std::string& request) {
    const companions::Json object(json_loads(request.c_str(), 0, nullptr));
    return std::string(companions::textOf(object.get(), "dataStream", request));
}

class Web : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }

    void SetUp() override {
        start("127.0.0.1:0");
    }

    void start(const std::string& address) {
        manager.reset(); // and its lock
        manager = std::make_unique<ChildProcess>(std::vector<std::string>{MPEGFE_MANAGER, "--web", address},
                                                 std::vector<std::string>{});
        const std::string line = readLine();
        std::smatch found;
        ASSERT_TRUE(std::regex_match(
            line, found,
            std::regex("mpegfe-manager: the page is at http://(?:127\\.0\\.0\\.1|0\\.0\\.0\\.0|\\[::\\]):"
                       "([0-9]+)/\n")))
            << line;
        port = static_cast<std::uint16_t>(std::stoi(found[1]));
    }

    std::string readLine() const {
        std::string line;
        pollfd readable{manager->errorDescriptor(), POLLIN, 0};
        char letter = 0;
        while (!line.ends_with('\n') && poll(&readable, 1, patience.count()) == 1 &&
               read(manager->errorDescriptor(), &letter, 1) == 1) {
            line += letter;
        }
        return line;
    }

    std::string host() const {
        return "127.0.0.1:" + std::to_string(port);
    }

    std::string get(const std::string& path, const std::string& lines = {}) const {
        HttpConnection browser(port);
        browser.get(path, lines);
        return browser.readAnswer();
    }

    std::string ask(const std::string& request) const {
        HttpConnection browser(port);
        browser.send(request);
        return browser.readAnswer();
    }

    std::string stateOf(const std::string& which) const {
        const std::string picture = get("/api/picture");
        std::smatch found;
        std::regex_search(picture, found, std::regex('"' + which + "\":\\{\"state\":\"([a-zA-Z]*)\""));
        return found[1];
    }
    std::string stateOfService() const {
        return stateOf("service");
    }
    std::string stateOfStream() const {
        return stateOf("stream");
    }

    // Waits until something is so; false when it is not within 20 s.
    static bool becomes(const std::function<bool()>& isSo) {
        const auto until = std::chrono::steady_clock::now() + patience;
        while (!isSo()) {
            if (std::chrono::steady_clock::now() > until) {
                return false;
            }
            std::this_thread::sleep_for(20ms);
        }
        return true;
    }

    // Answers requests up to one for this data stream; that one, or what came instead.
    static std::string serveUpTo(ScriptedService& service, const std::string& last,
                                 const Answers& answers = smallStream) {
        std::string request;
        do {
            request = service.takeRequest();
            service.reply(ack);
            if (request.find("\"off\"") != std::string::npos) {
                return request;
            }
            if (!answers.contains(streamOf(request))) {
                return request;
            }
            service.sendDocument({answers.at(streamOf(request))});
            EXPECT_EQ(service.takeAcknowledgement(), ack);
        } while (streamOf(request) != last);
        return request;
    }

    std::unique_ptr<ChildProcess> manager;
    std::uint16_t port = 0;
};

// Otherwise it would wait for whatever comes next.
TEST(WebServerStep, sendsWhatHasBeenPublishedAtOnce) {
    const auto message = [](const char* text) { return std::make_shared<const std::string>(text); };
    manager::ServedAddress address("127.0.0.1:0");
    manager::WebServer server(address, {.answer = [](const auto&) { return manager::WebAnswer{}; },
                                        .firstEvent = [&] { return message("first\n\n"); }});
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()), 0);
    const manager::Descriptor browser(ends[0]);
    ASSERT_TRUE(server.adopt(manager::Descriptor(ends[1])));
    const std::string url = address.url();
    const std::string request =
        "GET /api/events HTTP/1.1\r\nHost: " + url.substr(7, url.size() - 8) + "\r\n\r\n";
    ASSERT_GT(::send(browser.get(), request.data(), request.size(), MSG_NOSIGNAL), 0);
    const auto received = [&] {
        std::array<char, 4096> buffer{};
        const ssize_t length = recv(browser.get(), buffer.data(), buffer.size(), 0);
        return std::string(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    };
    for (int i = 0; i < 5; ++i) {
        server.step();
    }
    EXPECT_THAT(received(), HasSubstr("first\n\n"));
    server.publish(message("second\n\n"));
    server.step();
    EXPECT_THAT(received(), HasSubstr("second\n\n"));
}

// Whether each line of a module is as it was, or is empty and was nothing but a comment.
bool isWithoutComments(const std::string& served, const std::string& source) {
    static const std::regex comment(R"( *(//.*|/\*\*.*| \*.*))");
    std::istringstream servedLines(served);
    std::istringstream sourceLines(source);
    std::string line;
    std::string before;
    std::size_t emptied = 0;
    while (std::getline(sourceLines, before)) {
        if (!std::getline(servedLines, line)) {
            return false;
        }
        if (line != before) {
            if (!line.empty() || !std::regex_match(before, comment)) {
                ADD_FAILURE() << before << "\nis served as\n" << line;
                return false;
            }
            ++emptied;
        }
    }
    return !std::getline(servedLines, line) && emptied > 0;
}

TEST_F(Web, servesThePageAsItIsAndPacked) {
    const std::filesystem::path page = MPEGFE_PAGE;
    const std::string index = contentOf(page / "index.html");
    const std::string answer = get("/");
    EXPECT_EQ(bodyOf(answer), index);
    std::smatch tag;
    ASSERT_TRUE(std::regex_search(answer, tag, std::regex("ETag: (\"[0-9a-f]{16}\")\r\n")));
    const std::string lines =
        "Content-Type: text/html; charset=utf-8\r\nETag: " + tag[1].str() + "\r\nVary: Accept-Encoding\r\n";
    EXPECT_EQ(answer, head("200 OK", lines, index.size()) + index);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(page)) {
        const std::string path = '/' + entry.path().lexically_relative(page).string();
        if (entry.path().extension() == ".css") {
            EXPECT_EQ(bodyOf(get(path)), contentOf(entry.path())) << path;
        } else if (entry.path().extension() == ".js") {
            EXPECT_TRUE(isWithoutComments(bodyOf(get(path)), contentOf(entry.path()))) << path;
        }
    }
    EXPECT_THAT(get("/", "If-None-Match: " + tag[1].str() + "\r\n"),
                StartsWith("HTTP/1.1 304 Not Modified\r\n"));
    EXPECT_THAT(get("/", "If-None-Match: *\r\n"), StartsWith("HTTP/1.1 304 Not Modified\r\n"));
    EXPECT_THAT(get("/", "If-None-Match: \"other\"\r\n"), StartsWith("HTTP/1.1 200 OK\r\n"));

    const std::string script = contentOf("/usr/share/javascript/dygraphs/dygraph.min.js");
    EXPECT_EQ(bodyOf(get("/dygraph.min.js", "Accept-Encoding: br, gzip;q=0\r\n")), script);
    const std::string packed = get("/dygraph.min.js", "Accept-Encoding: br, gzip;q=0.5\r\n");
    EXPECT_THAT(packed, HasSubstr("\r\nContent-Encoding: gzip\r\n"));
    EXPECT_LT(bodyOf(packed).size(), script.size() / 2);
    const std::string file = testing::TempDir() + "packedScript" + std::to_string(getpid());
    std::ofstream(file, std::ios::binary) << bodyOf(packed);
    const std::string unpacking =
        "gzip -dc <" + file + " | cmp - /usr/share/javascript/dygraphs/dygraph.min.js";
    EXPECT_EQ(std::system(unpacking.c_str()), 0);
    std::filesystem::remove(file);
}

TEST_F(Web, answersWhatItDoesNotServe) {
    const std::string right = "Host: " + host() + "\r\n";
    const std::string origin = "Origin: http://" + host() + "\r\n";
    const std::string looking = right + "Mpegfe-Look: 1\r\n";
    const std::string elsewhere = plain("403 Forbidden", "This page is served under its own address only.\n");
    const std::string noMethod =
        plain("405 Method Not Allowed", "GET and HEAD only.\n", "Allow: GET, HEAD\r\n");
    const std::string notFound = plain("404 Not Found", "There is nothing here.\n");
    const std::string wrongLook =
        plain("400 Bad Request", "at=NAME[,NAME...], of PAT, CAT, NIT, SDT, EIT, TDT and pgmDetail:INDEX.\n");
    const std::string noHeader = plain("403 Forbidden", "A look needs the header \"Mpegfe-Look: 1\".\n");
    const std::string wrongSpan = plain("400 Bad Request", "seconds=N, a number from 1 on.\n");
    const std::vector<std::pair<std::string, std::string>> cases{
        {"GET /nothing HTTP/1.1\r\n" + right, notFound},
        {"GET /api/ HTTP/1.1\r\n" + right, notFound},
        {"GET /../../etc/passwd HTTP/1.1\r\n" + right, notFound},
        {"GET /api/csv/pgmDetail:1 HTTP/1.1\r\n" + right, notFound},
        {"GET /api/document/PAT HTTP/1.1\r\n" + right, notFound},
        {"GET /api/look HTTP/1.1\r\n" + looking, wrongLook},
        {"GET /api/look?at=PAT,pidData HTTP/1.1\r\n" + looking, wrongLook},
        {"GET /api/look?at=PAT,foo HTTP/1.1\r\n" + looking, wrongLook},
        {"GET /api/look?at=PAT, HTTP/1.1\r\n" + looking, wrongLook},
        {"GET /api/look?at=,PAT HTTP/1.1\r\n" + looking, wrongLook},
        {"GET /api/look?at=PAT HTTP/1.1\r\n" + right, noHeader},
        {"GET /api/look?at=pgmDetail:59 HTTP/1.1\r\n" + looking, wrongLook},
        {"GET /api/look?at=pgmDetail:01 HTTP/1.1\r\n" + looking, wrongLook},
        {"GET /api/history HTTP/1.1\r\n" + right, wrongSpan},
        {"GET /api/history?seconds=0 HTTP/1.1\r\n" + right, wrongSpan},
        {"GET /api/history?seconds=-1 HTTP/1.1\r\n" + right, wrongSpan},
        {"GET /api/history?seconds=99999999999 HTTP/1.1\r\n" + right, wrongSpan},
        {"POST /api/look?at=PAT HTTP/1.1\r\n" + right, noMethod},
        {"DELETE / HTTP/1.1\r\n" + right, noMethod},
        {"OPTIONS /api/events HTTP/1.1\r\n" + right, noMethod},
        {"GET / HTTP/1.1\r\nHost: evil.example:" + std::to_string(port) + "\r\n", elsewhere},
        {"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n", elsewhere},
        {"GET / HTTP/1.1\r\nHost: 127.0.0.1:1\r\n", elsewhere},
        {"GET / HTTP/1.1\r\nHost: 127.0.0.2:" + std::to_string(port) + "\r\n", elsewhere},
        {"GET / HTTP/1.1\r\nHost: localhost.evil.example:" + std::to_string(port) + "\r\n", elsewhere},
        {"GET /api/picture HTTP/1.1\r\n" + right + "Origin: http://evil.example\r\n", elsewhere},
        {"GET /api/picture HTTP/1.1\r\n" + right + "Origin: null\r\n", elsewhere},
        {"GET /api/picture HTTP/1.1\r\n" + right + right, elsewhere},
        {"GET /api/picture HTTP/1.1\r\n" + right + origin + origin, elsewhere},
        {"GET /api/events HTTP/1.1\r\n" + right + "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\n",
         elsewhere},
        {"GET /api/look?at=PAT HTTP/1.1\r\n" + looking + "Sec-Fetch-Site: same-site\r\n", elsewhere},
        {"GET /api/csv/pids HTTP/1.1\r\n" + right +
             "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\n",
         elsewhere},
        {"GET / HTTP/1.1\r\n" + right + "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\n",
         elsewhere},
        {"GET /api/picture HTTP/1.1\r\n" + right + "Origin: https://" + host() + "\r\n", elsewhere},
        {"GET / HTTP/1.0\r\n", "HTTP/1.0"},
    };
    for (const auto& [request, answer] : cases) {
        if (answer == "HTTP/1.0") {
            EXPECT_THAT(ask(request + "\r\n"), HasSubstr(" 403 Forbidden\r\n"));
        } else {
            EXPECT_EQ(ask(request + "\r\n"), answer) << request;
        }
    }
    EXPECT_THAT(ask("GET / HTTP/1.1\r\nHost: LOCALHOST:" + std::to_string(port) + "\r\nOrigin: http://" +
                    host() + "\r\n\r\n"),
                StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(Web, tellsTheHeadAlone) {
    HttpConnection browser(port);
    browser.send("HEAD /api/picture HTTP/1.1\r\nHost: " + host() + "\r\nConnection: close\r\n\r\n");
    const std::string answer = browser.readToEnd();
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer, HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_THAT(answer, EndsWith("\r\n\r\n"));
    HttpConnection stream(port);
    stream.send("HEAD /api/events HTTP/1.1\r\nHost: " + host() + "\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(stream.readToEnd(), HasSubstr("Content-Type: text/event-stream\r\n"));
}

TEST_F(Web, servesAnyAddressUnderNumbersOnly) {
    start("0.0.0.0:0");
    const std::string number = std::to_string(port);
    EXPECT_THAT(ask("GET / HTTP/1.1\r\nHost: 192.0.2.1:" + number + "\r\n\r\n"), HasSubstr(" 200 OK"));
    EXPECT_THAT(ask("GET / HTTP/1.1\r\nHost: localhost:" + number + "\r\n\r\n"), HasSubstr(" 200 OK"));
    EXPECT_THAT(ask("GET / HTTP/1.1\r\nHost: front.example:" + number + "\r\n\r\n"), HasSubstr(" 403 "));
}

TEST_F(Web, takesNoBodiesAndNothingThatIsMalformed) {
    const std::string right = " HTTP/1.1\r\nHost: " + host() + "\r\n";
    const std::vector<std::string> wrong{
        "POST /" + right + "Content-Length: 5\r\n\r\nhello",
        "GET /" + right + "Content-Length: 1000000000\r\n\r\nhello",
        "GET /" + right + "Content-Length: 99999999999999999999999\r\n\r\n",
        "GET /" + right + "Transfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n",
        "GET /" + right + "Transfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFFF\r\n",
        "GET /" + right + "Name: " + std::string(100'000, 'x') + "\r\n\r\n",
        "GET /" + std::string(100'000, 'x') + right + "\r\n",
        std::string(100'000, '\n') + "\r\n\r\n",
        "hello\r\n\r\n",
        "\x16\x03\x01\x02\x00\x01\x00\x01\xFC\x03\x03\r\n\r\n",
        "GET / HTTP/9.9\r\n\r\n",
        "GET\r\n\r\n",
    };
    for (const std::string& request : wrong) {
        HttpConnection browser(port);
        browser.send(request); // may be ended before all of it is sent
        EXPECT_THAT(get("/api/picture"), StartsWith("HTTP/1.1 200 OK\r\n")) << request.substr(0, 60);
        EXPECT_THAT(browser.readWhatHasCome(), testing::Not(HasSubstr(" 200 OK"))) << request.substr(0, 60);
    }
    const HttpConnection silent(port); // kept, until it has said nothing useful for long
    silent.send(std::string(4096, '\0') + "\r\n\r\n");
    EXPECT_THAT(get("/api/picture"), StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(ask("GET /" + right + "Content-Length: 5\r\n\r\nhello"),
                HasSubstr("A request here has no body.\n"));
}

TEST_F(Web, showsEverythingThatTheServiceAnswers) {
    HttpConnection browser(port);
    browser.get("/api/events");
    EXPECT_EQ(
        withoutTimes(browser.readEvent()),
        "event: picture\nid: 0\ndata: "
        R"({"version":0,"time":TIME,"service":{"state":"absent","since":TIME},)"
        R"("stream":{"state":"none","since":TIME,"rateBitPerSecond":null,"pidCount":0,"programCount":0},)"
        R"("pids":[],"programs":[],"documents":{},"events":[]})"
        "\n");
    ScriptedService service;
    serveUpTo(service, "pgmData");
    std::string picture;
    EXPECT_TRUE(becomes([&] {
        picture = bodyOf(get("/api/picture"));
        return picture.find("programCame") != std::string::npos;
    }));
    picture = std::regex_replace(withoutTimes(picture), std::regex("\"version\":[0-9]+"), "\"version\":N");
    EXPECT_EQ(
        picture,
        R"({"version":N,"time":TIME,"service":{"state":"answering","since":TIME},)"
        R"("stream":{"state":"running","since":TIME,"rateBitPerSecond":3250000,"pidCount":1,"programCount":1},)"
        R"("pids":[{"pid":256,"place":0,"type":4,"description":"VIDEO","programNumber":1,"patIndex":1,"pmtPid":4096,)"
        R"("rateBitPerSecond":3058000,"scrambled":false,"serviceName":"News One","least":3058000,"most":3058000,)"
        R"("firstSeen":TIME,"lastSeen":TIME,"gone":false}],)"
        R"("programs":[{"programNumber":1,"patIndex":1,"name":"News One","provider":"Provider A","serviceType":1,)"
        R"("pmtPid":4096,"pidCount":1,"rateBitPerSecond":3250000,"freeCaMode":false,"allScrambled":false,)"
        R"("least":3250000,"most":3250000,"firstSeen":TIME,"lastSeen":TIME,"gone":false}],)"
        R"("documents":{"CAT":{"time":TIME,"bytes":135,"answerMs":MS,"value":{"dataStream":"CAT","systemCount":0,"tableId":1,"rateBitPerSecond":0,"systems":[]}},)"
        R"("pgmData":{"time":TIME,"bytes":340,"answerMs":MS},)"
        R"("pgmDetail:0":{"time":TIME,"bytes":143,"answerMs":MS,"value":{"dataStream":"pgmDetail","programNumber":1,)"
        R"("pmtPid":4096,"pidCount":0,"video":null,"audio":[],"privateData":[],"ecm":[]}},)"
        R"("pidData":{"time":TIME,"bytes":278,"answerMs":MS}},)"
        R"("events":[{"number":1,"time":TIME,"kind":"pidCame","pid":256,"text":"VIDEO"},)"
        R"({"number":2,"time":TIME,"kind":"programCame","programNumber":1,"text":"News One"}]})");

    EXPECT_EQ(withoutTimes(bodyOf(get("/api/history?seconds=900"))),
              R"({"times":[TIME],"total":[3250000],"pids":{"256":[3058000]},"programs":{"1":[3250000]}})");
    EXPECT_EQ(bodyOf(get("/api/document/pidData")), smallStream.at("pidData"));
    EXPECT_EQ(bodyOf(get("/api/document/pgmDetail:0")), smallStream.at("pgmDetail"));
    const std::string csv = get("/api/csv/programs");
    EXPECT_THAT(csv, HasSubstr("Content-Type: text/csv; charset=utf-8\r\n"
                               "Content-Disposition: attachment; filename=\"programs.csv\"\r\n"));
    EXPECT_EQ(
        std::regex_replace(bodyOf(csv), std::regex("20[0-9-]+T[0-9:.]+Z"), "TIME"),
        "programNumber,patIndex,name,provider,serviceType,pmtPid,pidCount,rateBitPerSecond,least,most,"
        "freeCaMode,allScrambled,firstSeen,lastSeen,gone\r\n"
        "1,1,\"News One\",\"Provider A\",1,4096,1,3250000,3250000,3250000,false,false,TIME,TIME,false\r\n");
}

TEST_F(Web, sendsEveryStreamTheSameBytes) {
    ScriptedService service;
    HttpConnection one(port);
    HttpConnection other(port);
    one.get("/api/events");
    one.readEvent();
    other.get("/api/events");
    other.readEvent();
    for (int i = 0; i < 3; ++i) {
        serveUpTo(service, "pgmData");
        const std::string change = one.readEvent();
        EXPECT_THAT(change, StartsWith("event: change\nid: "));
        EXPECT_EQ(other.readEvent(), change);
    }
}

TEST_F(Web, asksForWhatIsLookedAtAndStopsTheFeedWhenNobodyLooks) {
    ScriptedService service;
    auto browser = std::make_unique<HttpConnection>(port);
    browser->get("/api/events");
    EXPECT_EQ(serveUpTo(service, "pgmDetail"), R"({"dataStream": "pgmDetail", "patIndex": "0"})");
    EXPECT_EQ(get("/api/look?at=PAT", lookHeader),
              "HTTP/1.1 204 No Content\r\n" + std::string(safeguards) + "\r\n");
    EXPECT_EQ(serveUpTo(service, "PAT"), R"({"dataStream": "PAT", "status": "on"})");
    browser.reset();
    EXPECT_EQ(serveUpTo(service, "none"), R"({"dataStream": "pidData", "status": "off"})");
}

TEST_F(Web, reachesThePageByALinkOfAnotherSite) {
    EXPECT_THAT(get("/", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\n"),
                StartsWith("HTTP/1.1 200 OK\r\n"));
    for (const std::string site : {"same-origin", "none"}) {
        EXPECT_THAT(get("/api/picture", "Sec-Fetch-Site: " + site + "\r\nSec-Fetch-Mode: cors\r\n"),
                    StartsWith("HTTP/1.1 200 OK\r\n"));
    }
}

TEST_F(Web, keepsTheListsComingBesideProgramsThatTheServiceDoesNotShow) {
    ScriptedService service;
    HttpConnection browser(port);
    browser.get("/api/events");
    Answers answers = smallStream;
    std::string& list = answers.at("pgmData");
    list.replace(list.find("\"patIndex\":\"1\""), 14, "\"patIndex\":\"40\"");
    serveUpTo(service, "pgmData", answers);
    std::string names = "pgmDetail:1";
    for (int index = 2; index <= 40; ++index) {
        names += ",pgmDetail:" + std::to_string(index);
    }
    EXPECT_TRUE(becomes([&] { return stateOfStream() == "running"; }));
    EXPECT_THAT(get("/api/look?at=" + names + ",pgmDetail:41", lookHeader),
                EndsWith("\r\n\r\nThe stream has no program of this index.\n"));
    EXPECT_THAT(get("/api/look?at=" + names, lookHeader), StartsWith("HTTP/1.1 204 "));
    int lists = 0;
    int unanswered = 0;
    while (lists < 4 && unanswered < 9) {
        const std::string request = service.takeRequest();
        service.reply(ack);
        const std::string name = streamOf(request);
        if (name == "pgmDetail" && request.find("\"0\"") == std::string::npos) {
            ++unanswered;
            continue;
        }
        lists += name == "pidData" ? 1 : 0;
        unanswered = name == "pidData" ? 0 : unanswered;
        service.sendDocument({answers.at(name)});
        EXPECT_EQ(service.takeAcknowledgement(), ack);
    }
    EXPECT_LT(unanswered, 9) << "between two PID lists";
}

TEST_F(Web, stopsTheFeedAtTheEnd) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        start("127.0.0.1:0");
        ScriptedService service;
        HttpConnection browser(port);
        browser.get("/api/events");
        serveUpTo(service, "pgmData");
        manager->signal(signal);
        EXPECT_EQ(serveUpTo(service, "none"), R"({"dataStream": "pidData", "status": "off"})");
        const auto status = manager->waitFor(patience);
        EXPECT_EQ(status ? testSupport::describeStatus(*status) : "still running", "exit code 0");
        manager.reset();
    }
}

TEST_F(Web, tellsWhatTheServiceDoes) {
    HttpConnection browser(port);
    browser.get("/api/events");
    EXPECT_EQ(stateOfService(), "absent");
    auto service = std::make_unique<ScriptedService>();
    EXPECT_EQ(streamOf(service->takeRequest()), "pidData");
    EXPECT_TRUE(becomes([&] { return stateOfService() == "unanswered"; }));
    service->reply(ack);
    EXPECT_TRUE(becomes([&] { return stateOfService() == "waiting"; }));
    EXPECT_TRUE(becomes([&] { return stateOfService() == "noStream"; }));
    // The stream has come: the document that was waited for, and the request behind it.
    service->sendDocument({smallStream.at("pidData")});
    EXPECT_EQ(service->takeAcknowledgement(), ack);
    EXPECT_TRUE(becomes([&] { return bodyOf(get("/api/document/pidData")) == smallStream.at("pidData"); }));
    serveUpTo(*service, "pgmData");
    EXPECT_TRUE(becomes([&] { return stateOfService() == "answering"; }));

    // It ends in the middle of a request, and starts anew.
    service->takeRequest();
    service.reset();
    EXPECT_TRUE(becomes([&] { return stateOfService() == "absent"; }));
    service = std::make_unique<ScriptedService>();
    EXPECT_EQ(streamOf(serveUpTo(*service, "pidData")), "pidData");
    EXPECT_TRUE(becomes([&] { return stateOfService() == "answering"; }));
    EXPECT_TRUE(becomes([&] { return get("/api/picture").find("serviceBack") != std::string::npos; }));
}

TEST_F(Web, sendsHostileNamesAsTextThatIsAlwaysJson) {
    ScriptedService service;
    HttpConnection browser(port);
    browser.get("/api/events");
    browser.readEvent();
    Answers hostile = smallStream;
    const std::string name =
        "</script><b>\n\ndata: {}\x1B[2J \"quoted\\\" \xE9 \xC3(\xED\xA0\x80 \xE2\x80\xA8 =1+1";
    std::string& list = hostile.at("pgmData");
    list.replace(list.find("News One"), 8, name);
    serveUpTo(service, "pgmData", hostile);
    std::string event;
    do {
        event = browser.readEvent();
    } while (event.find("\"programs\"") == std::string::npos && event.starts_with("event: "));
    ASSERT_EQ(std::count(event.begin(), event.end(), '\n'), 3) << event;
    const std::string data = event.substr(event.find("data: ") + 6);
    json_error_t error{};
    const companions::Json change(json_loads(data.c_str(), 0, &error));
    ASSERT_TRUE(change) << error.text << data;
    const json_t* const program = json_array_get(json_object_get(change.get(), "programs"), 0);
    EXPECT_EQ(companions::textOf(program, "name"),
              "</script><b>\n\ndata: {}\x1B[2J \"quoted\\\" \uFFFD \uFFFD(\uFFFD\uFFFD\uFFFD \u2028 =1+1");
    EXPECT_EQ(bodyOf(get("/api/document/pgmData")), list);
    const std::string csv = get("/api/csv/programs");
    EXPECT_THAT(csv, HasSubstr(",\"</script><b>\n\ndata: {}\x1B[2J \"\"quoted\\\"\" \uFFFD \uFFFD("));
}

TEST_F(Web, disconnectsABrowserThatReadsTooSlowly) {
    ScriptedService service;
    HttpConnection slow(port, 4096);
    slow.get("/api/events");
    HttpConnection browser(port);
    browser.get("/api/events");
    browser.readEvent();
    serveUpTo(service, "pgmData"); // both of its connections are there
    const std::size_t before = manager->descriptorCount();
    Answers large = smallStream;
    large["EIT"] =
        R"({"requestReply":"dataStream","dataStream":"EIT","EIT":{"eventCount":"1","tableID":"0x4e","netID":"0x2","pgmNum":"0x1f5","systemID":"0x3f9","pidRate":"   2.000Kbps","details":[{"eventID":"0x1234","Date:MJD":"60000","TOD":"20:15:00","duration":"01:30:00","language":"eng","event":"Evening News","description":")" +
        std::string(1'000'000, 'x') + R"("}]}})";
    bool isDropped = false;
    for (int i = 0; i < 40 && !isDropped; ++i) {
        get("/api/look?at=EIT", lookHeader);
        serveUpTo(service, "EIT", large);
        EXPECT_THAT(browser.readEvent(), StartsWith("event: change\n"));
        isDropped = manager->descriptorCount() < before;
    }
    EXPECT_TRUE(isDropped);
}

// It answers nothing any more, and does not end its connection either.
TEST_F(Web, noticesABrowserThatHasVanished) {
    ScriptedService service;
    HttpConnection browser(port);
    browser.get("/api/events");
    browser.readEvent();
    serveUpTo(service, "pgmData");
    sock_filter nothing{BPF_RET | BPF_K, 0, 0, 0};
    const sock_fprog filter{1, &nothing};
    ASSERT_EQ(setsockopt(browser.descriptor(), SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter), 0);
    const auto since = std::chrono::steady_clock::now();
    std::string request;
    while (request.find("\"off\"") == std::string::npos && std::chrono::steady_clock::now() < since + 60s) {
        request = serveUpTo(service, "pgmData");
    }
    EXPECT_EQ(request, R"({"dataStream": "pidData", "status": "off"})");
}

TEST_F(Web, serves1000ConnectionsAnd200Streams) {
    std::list<HttpConnection> streams;
    for (int i = 0; i < 200; ++i) {
        streams.emplace_back(port);
        streams.back().get("/api/events");
        ASSERT_EQ(streams.back().readUntil("\r\n"), "HTTP/1.1 200 OK\r\n");
    }
    EXPECT_THAT(get("/api/events"), StartsWith("HTTP/1.1 503 Service Unavailable\r\n"));
    std::list<HttpConnection> browsers;
    for (int i = 0; i < 800; ++i) {
        browsers.emplace_back(port);
        browsers.back().get("/api/history?seconds=10");
    }
    for (HttpConnection& browser : browsers) {
        ASSERT_THAT(browser.readAnswer(), StartsWith("HTTP/1.1 200 OK\r\n"));
    }
    EXPECT_THAT(get("/"), StartsWith("HTTP/1.1 200 OK\r\n"));
    browsers.clear();
    streams.clear();
    EXPECT_TRUE(becomes([&] { return manager->descriptorCount() < 40; }));
}

// More than there may be at once: those that come too late are served when others have gone.
TEST_F(Web, servesThoseBeyondItsConnectionsOneAfterTheOther) {
    std::list<HttpConnection> browsers;
    for (int i = 0; i < 1200; ++i) {
        browsers.emplace_back(port);
        browsers.back().get("/api/history?seconds=10", "Connection: close\r\n");
    }
    for (HttpConnection& browser : browsers) {
        ASSERT_THAT(browser.readToEnd(), StartsWith("HTTP/1.1 200 OK\r\n"));
    }
}

TEST_F(Web, saysThatThePortIsTaken) {
    // Beside the first one, whose lock keeps a second manager out, somebody else has the port.
    const std::string taken = host();
    manager->signal(SIGTERM);
    ASSERT_TRUE(manager->waitFor(patience));
    const int other = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int on = 1;
    setsockopt(other, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ASSERT_EQ(bind(other, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(other, 1), 0);
    manager = std::make_unique<ChildProcess>(std::vector<std::string>{MPEGFE_MANAGER, "--web", taken},
                                             std::vector<std::string>{});
    EXPECT_EQ(readLine(),
              "mpegfe-manager: cannot serve the page: expected a free port at http://" + taken +
                  "/, got the error \"Address already in use\"; another program has the port: stop it, or "
                  "name another with --web ADDRESS:PORT\n");
    const auto status = manager->waitFor(patience);
    EXPECT_EQ(status ? testSupport::describeStatus(*status) : "still running", "exit code 5");
    close(other);
}

TEST_F(Web, takesNoAddressThatIsNone) {
    manager->signal(SIGTERM);
    ASSERT_TRUE(manager->waitFor(patience));
    for (const std::string address :
         {"127.0.0.1", "8080", "localhost:8080", "127.0.0.1:65536", "[::1:80", "::1:"}) {
        manager = std::make_unique<ChildProcess>(std::vector<std::string>{MPEGFE_MANAGER, "--web", address},
                                                 std::vector<std::string>{});
        EXPECT_EQ(readLine(),
                  "mpegfe-manager: the page has no such address: expected ADDRESS:PORT in numbers, for "
                  "example 127.0.0.1:8080, got \"" +
                      address + "\"; see mpegfe-manager --help\n");
        const auto status = manager->waitFor(patience);
        EXPECT_EQ(status ? testSupport::describeStatus(*status) : "still running", "exit code 2");
    }
}

} // namespace
