// ZeroMQ without sockets: the libzmq calls of the service and its sleeps end here, and what is received comes
// from a script. The executables are linked so (CMakeLists.txt names the calls); the benches' too.
//
// A wait that would last for ever, because the script has come to its end, is left by PeersAreSilent. The
// calls check what must hold of their use: handles are open ones, documents are texts, an instruction is
// answered before the next is sent, and what is opened stays bounded.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace scriptedZmq {

struct PeersAreSilent {};

// How the socket answers when it is asked whether more parts follow.
enum class MoreQuery {
    answered,
    fails,                // and writes nothing
    failsAndWritesNone,   // after writing 0
    failsAndWritesFurther // after writing 1
};

// What one receive of a published part meets.
struct Part {
    std::vector<unsigned char> bytes;
    std::size_t sentLength = 0; // as received; may be more than bytes
    bool more = false;
    MoreQuery query = MoreQuery::answered; // of the query that follows
    int errorNumber = 0;                   // not 0: the receive fails
};

// A reply of Trufios, met after that many receives that found none.
struct Reply {
    std::size_t emptyTries = 0;
    std::vector<unsigned char> bytes;
    std::size_t sentLength = 0;
};

// The service's peers. An empty function is a peer that is silent.
struct Peers {
    std::function<std::optional<Part>()> publishPart;   // the parser's publisher; none: silent from here on
    std::function<std::optional<Reply>()> takeDocument; // Trufios has been sent one; none: it never replies
    std::size_t instructionReplyLength = 2;             // of the parser's replies to instructions
};

// Forgets every socket and what was counted, and has these peers play from here on.
void begin(Peers peers);

// An open socket of Trufios's, for the documents.
void* documentSocket();

// Whether the subscriber that receives, or received last, wants this topic.
bool isSubscribed(std::string_view topic);

// What the next receives without waiting meet.
void expectReply(Reply reply);

// Receives without waiting, and sleeps, since begin.
std::size_t tries();
std::size_t sleeps();

} // namespace scriptedZmq
