// The program watching, against a scripted service: in lines, and on a terminal.

#include "reading.h"
#include "scriptedService.h"
#include "support/childProcess.h"
#include "support/isolation.h"
#include "support/patience.h"

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using testSupport::ack;
using testSupport::ChildProcess;
using testSupport::patience;
using testSupport::readToEnd;
using testSupport::readUntil;
using testSupport::ScriptedService;

constexpr const char* patRequest = R"({"dataStream": "PAT", "status": "on"})";
constexpr const char* offRequest = R"({"dataStream": "pidData", "status": "off"})";

std::string patWith(const std::string& program) {
    return R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":"1","pidRate":"   1.500Kbps","details":[{"pgmNum":")" +
           program + R"(","referencePID":"256"}]}})";
}

std::string jsonWith(const std::string& program) {
    return R"({"dataStream":"PAT","programCount":1,"rateBitPerSecond":1500,"programs":[{"programNumber":)" +
           program + ",\"pmtPid\":256}]}\n";
}

constexpr const char* hostileSdt =
    "{\"requestReply\":\"dataStream\",\"dataStream\":\"SDT\",\"SDT\":{\"pgms\":\"1\",\"tableID\":\"0x42\","
    "\"systemID\":\"0x1\","
    "\"netID\":\"0x1\",\"pidRate\":\"   "
    "1.500Kbps\",\"sdtData\":\"Actual\",\"details\":[{\"svcName\":\"\x1b]0;owned\x07\","
    "\"svcProvider\":\"p\",\"caFlag\":\"Clear\"}]}}";

void serve(ScriptedService& service, const std::string& request, const std::string& document) {
    EXPECT_EQ(service.takeRequest(), request);
    service.reply(ack);
    service.sendDocument({document});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
}

void serveEnd(ScriptedService& service) {
    EXPECT_EQ(service.takeRequest(), offRequest);
    service.reply(ack);
}

// The program on a terminal of its own.
class OnTerminal {
  public:
    explicit OnTerminal(const std::vector<std::string>& arguments, const char* kind = "xterm",
                        const char* locale = "C.UTF-8") {
        winsize size{.ws_row = 12, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
        std::vector<const char*> words{MPEGFE_MANAGER};
        for (const std::string& argument : arguments) {
            words.push_back(argument.c_str());
        }
        words.push_back(nullptr);
        pid = forkpty(&terminal, nullptr, nullptr, &size);
        if (pid == 0) {
            setenv("TERM", kind, 1);
            setenv("LC_ALL", locale, 1);
            execv(words[0], const_cast<char* const*>(words.data()));
            _exit(127);
        }
    }
    OnTerminal(const OnTerminal&) = delete;
    OnTerminal& operator=(const OnTerminal&) = delete;
    ~OnTerminal() {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        close(terminal);
    }

    std::string readUntil(const std::string& wanted) const {
        return testSupport::readUntil(terminal, wanted);
    }
    void press(const std::string& keys) const {
        EXPECT_EQ(write(terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    void resize(unsigned short rows, unsigned short columns) const {
        const winsize size{.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        EXPECT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
    }
    std::string ending() {
        testSupport::readToEnd(terminal);
        int status = 0;
        waitpid(pid, &status, 0);
        pid = -1;
        return testSupport::describeStatus(status);
    }

  private:
    int terminal = -1;
    pid_t pid = -1;
};

class Watch : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }
};

TEST_F(Watch, printsOneDocumentAfterTheOtherWhereThereIsNoTerminal) {
    ChildProcess manager({MPEGFE_MANAGER, "PAT", "on", "--watch", "--json"}, {});
    ScriptedService service;
    serve(service, patRequest, patWith("1"));
    serve(service, patRequest, patWith("2"));
    EXPECT_EQ(service.takeRequest(), patRequest);
    service.reply(ack);
    service.sendDocument({patWith("3")});
    EXPECT_EQ(service.takeAcknowledgement(), ack);
    std::string output;
    pollfd readable{manager.outputDescriptor(), POLLIN, 0};
    while (!output.ends_with(jsonWith("3")) && poll(&readable, 1, patience.count()) == 1) {
        output += readUntil(manager.outputDescriptor(), "\n");
    }
    manager.signal(SIGINT);
    serveEnd(service);
    const auto status = manager.waitFor(patience);
    EXPECT_EQ(output, jsonWith("1") + jsonWith("2") + jsonWith("3"));
    ASSERT_TRUE(status);
    EXPECT_EQ(testSupport::describeStatus(*status), "exit code 0");
}

TEST_F(Watch, stopsTheFeedWhenNobodyReadsItsOutputAnyMore) {
    ChildProcess manager({MPEGFE_MANAGER, "PAT", "on", "--watch", "--json"}, {});
    ScriptedService service;
    serve(service, patRequest, patWith("1"));
    readUntil(manager.outputDescriptor(), "\n");
    manager.closeOutput();
    serve(service, patRequest, patWith("2"));
    serveEnd(service);
    const auto status = manager.waitFor(patience);
    EXPECT_EQ(status ? testSupport::describeStatus(*status) : "still running", "exit code 0");
    EXPECT_EQ(readToEnd(manager.errorDescriptor()), "");
}

TEST_F(Watch, stopsTheFeedWhenItsTerminalGoes) {
    ChildProcess manager({MPEGFE_MANAGER, "PAT", "on", "--watch", "--json"}, {});
    ScriptedService service;
    serve(service, patRequest, patWith("1"));
    manager.signal(SIGHUP);
    serveEnd(service);
    const auto status = manager.waitFor(patience);
    EXPECT_EQ(status ? testSupport::describeStatus(*status) : "still running", "exit code 0");
}

TEST_F(Watch, saysWhatKeepsTheNextDocumentAway) {
    ChildProcess manager({MPEGFE_MANAGER, "PAT", "on", "--watch", "--json"}, {});
    pollfd readable{manager.errorDescriptor(), POLLIN, 0};
    ASSERT_EQ(poll(&readable, 1, patience.count()), 1);
    EXPECT_EQ(readUntil(manager.errorDescriptor(), "\n"), "mpegfe-manager: no service is connected\n");
    ScriptedService service;
    EXPECT_EQ(service.takeRequest(), patRequest);
    ASSERT_EQ(poll(&readable, 1, patience.count()), 1);
    EXPECT_EQ(readUntil(manager.errorDescriptor(), "\n"),
              "mpegfe-manager: the service does not answer: it works on an earlier request\n");
    service.reply(ack);
    ASSERT_EQ(poll(&readable, 1, patience.count()), 1);
    EXPECT_EQ(readUntil(manager.errorDescriptor(), "\n"),
              "mpegfe-manager: waiting for the parser's records\n");
}

TEST_F(Watch, showsATableInPlaceUntilItIsQuit) {
    OnTerminal manager({"PAT", "on", "--watch"});
    ScriptedService service;
    serve(service, patRequest, patWith("1"));
    const std::string first = manager.readUntil("0x0100");
    EXPECT_NE(first.find("PAT: 1 program, 1.500Kbps"), std::string::npos) << first;
    EXPECT_NE(first.find("q quit"), std::string::npos) << first;
    serve(service, patRequest, patWith("4321"));
    EXPECT_NE(manager.readUntil("4321").find("4321"), std::string::npos);
    manager.resize(6, 20);
    manager.press("q");
    serveEnd(service);
    EXPECT_EQ(manager.ending(), "exit code 0");
}

TEST_F(Watch, showsUtf8WhateverTheLocaleSays) {
    OnTerminal manager({"PAT", "on", "--watch"}, "xterm", "C");
    manager.resize(12, 20);
    ScriptedService service;
    serve(service, patRequest, patWith("1"));
    const std::string screen = manager.readUntil("q quit");
    EXPECT_NE(screen.find("\u2026"), std::string::npos) << screen;
}

TEST_F(Watch, showsOneTableAfterTheOtherWhereNothingCanBePlaced) {
    OnTerminal manager({"PAT", "on", "--watch"}, "dumb");
    ScriptedService service;
    serve(service, patRequest, patWith("1"));
    const std::string screen = manager.readUntil("0x0100");
    EXPECT_NE(screen.find("PAT: 1 program, 1.500Kbps"), std::string::npos) << screen;
    EXPECT_EQ(screen.find("q quit"), std::string::npos) << screen;
    EXPECT_EQ(screen.find('\x1b'), std::string::npos) << screen;
    serve(service, patRequest, patWith("4321"));
    manager.readUntil("4321");
    manager.press("\x03");
    serveEnd(service);
    EXPECT_EQ(manager.ending(), "exit code 0");
}

TEST_F(Watch, showsNoControlSequenceOfAStreamToATerminal) {
    OnTerminal manager({"SDT", "on", "--watch"});
    ScriptedService service;
    serve(service, R"({"dataStream": "SDT", "status": "on"})", hostileSdt);
    const std::string screen = manager.readUntil("owned");
    EXPECT_NE(screen.find("\\u{1B}]0;owned"), std::string::npos) << screen;
    EXPECT_EQ(screen.find("\x1b]0"), std::string::npos) << screen;
}

TEST_F(Watch, watchesNothingThatBringsNoDocument) {
    ChildProcess manager({MPEGFE_MANAGER, "PAT", "off", "--watch"}, {});
    const auto status = manager.waitFor(patience);
    ASSERT_TRUE(status);
    EXPECT_EQ(testSupport::describeStatus(*status), "exit code 2");
    EXPECT_EQ(
        readToEnd(manager.errorDescriptor()),
        "mpegfe-manager: nothing to watch: expected a request that brings a document, got \"off\"; watch "
        "with \"on\"\n");
}

} // namespace
