// Any bytes as client requests: parsed, dispatched and run through their sessions.
//
// Input: any number of requests, each a text; what a session asks its peers for while it runs one
// (sessionPeers.h) stands behind it.
#include "check.h"
#include "fuzzInput.h"
#include "requests.h"
#include "serviceNames.h"
#include "sessionPeers.h"
#include "support/jsonText.h"
#include "target.h"

#include <memory>
#include <string>

namespace {

constexpr std::size_t longestRequest = 400;
constexpr std::size_t parserReplyLength = 2;

struct ReleaseJson {
    void operator()(json_t* object) const {
        json_decref(object);
    }
};

void serve(const std::string& request, MpegSession& session, FeedContext& feed) {
    json_error_t error;
    const std::unique_ptr<json_t, ReleaseJson> parsed(parseJson(request.c_str(), error));
    const int result = dispatchClientRequest(parsed.get(), &session, &feed);
    check(result == 0 || result == 1, "a request is served or refused");
    if (result == 0) {
        check(session.state == stateInitFeed || session.state == stateStabilise ||
                  session.state == stateUpdate,
              "a session rests in one of three states");
    } else {
        check(session.state == 0, "a refused request leaves state 0");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    PublishedParts parts(input);
    beginRun(sessionPeers(input, parts, parserReplyLength));
    FeedContext feed{};
    MpegSession session{};
    session.docSocket = scriptedZmq::documentSocket();
    try {
        while (!input.empty()) {
            serve(input.text().substr(0, longestRequest), session, feed);
        }
    } catch (const scriptedZmq::PeersAreSilent&) {
    }
    return 0;
}
