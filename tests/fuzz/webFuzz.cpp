// Any bytes as what a browser sends to the page's server, in pieces, with messages published between them.
//
// Input: how long a piece is (0: all of it), then what is sent, with the server's port for each "@".

#include "check.h"

#include "tunables.h"
#include "web/api.h"
#include "web/webServer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace manager;

struct Served {
    ServedAddress address{"127.0.0.1:0"};
    LivePicture live{PictureTime(1)};
    Rotation rotation{Time()};
    WebServer server{address,
                     {.answer =
                          [this](const WebRequest& request) {
                              return answerApi(request, live, rotation, PictureTime(1), Time());
                          },
                      .firstEvent = [this] { return live.everything(PictureTime(1)); }}};
};

// Everything that has come, without waiting.
std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 65536> buffer{};
    ssize_t length = 0;
    while ((length = recv(descriptor, buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(length));
    }
    return text;
}

std::string withPort(const ServedAddress& address, std::string_view text) {
    const std::string url = address.url(); // http://127.0.0.1:PORT/
    const std::string port = url.substr(url.rfind(':') + 1, url.size() - url.rfind(':') - 2);
    std::string result;
    for (const char letter : text) {
        result += letter == '@' ? port : std::string(1, letter);
    }
    return result;
}

// Whatever is answered is HTTP, and what comes of the page has its safeguards.
void checkAnswers(std::string_view answers) {
    check(answers.empty() || answers.starts_with("HTTP/1."), "an answer is one of HTTP");
    if (answers.starts_with("HTTP/1.1 200 ")) {
        check(answers.substr(0, answers.find("\r\n\r\n"))
                      .find("\r\nContent-Security-Policy: default-src 'none'") != std::string_view::npos,
              "the page may load nothing of others");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Served served;
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return 0;
    }
    Descriptor browser(ends[0]);
    check(served.server.adopt(Descriptor(ends[1])), "there is room for one connection");
    const std::string request =
        size == 0 ? "" : withPort(served.address, {reinterpret_cast<const char*>(data) + 1, size - 1});
    const std::size_t piece = size == 0 || data[0] == 0 ? request.size() : data[0];
    std::string_view rest = request;
    std::string answers;
    while (!rest.empty()) {
        const std::string_view now = rest.substr(0, piece);
        rest.remove_prefix(now.size());
        if (send(browser.get(), now.data(), now.size(), MSG_NOSIGNAL) < 0) {
            break;
        }
        served.server.step();
        served.server.publish(std::make_shared<const std::string>(":\n\n"));
        served.server.step();
        answers += readAll(browser.get());
    }
    shutdown(browser.get(), SHUT_RDWR);
    for (int i = 0; i < 3; ++i) {
        served.server.step();
    }
    answers += readAll(browser.get());
    checkAnswers(answers);
    check(served.server.streams() == 0, "a stream ends with its browser");
    return 0;
}
