// The short JSON messages exchanged with Trufios around requests and documents.
#pragma once

#include <cstddef>

namespace mpegfe {

// Bytes of a reply that are received; what is longer is cut.
inline constexpr std::size_t maxReplyLength = 50;

// A text out of a reply, with its terminator.
using ReplyText = char[maxReplyLength + 1];

// Result of a wait for a reply.
enum ReplyResult : int {
    replyAck = 0,
    replyNak = 1, // "nak", or a reply that cannot be understood
    replyTimeout = 2,
};

// Sends {"reply": "ack"} on the socket.
void sendReplyAck(void* socket);

// Sends {"reply": "ack", "ack": text}.
void sendReplyAckText(void* socket, const char* text);

// Sends {"reply": "nak", "reason": reason}.
void sendReplyNak(void* socket, const char* reason);

// Waits for Trufios's reply on the socket: 501 tries, 10 ms apart, about 5 s in all. Prints why when it is no
// "ack": "5s Abort", the parse error, or the reason that comes with another "reply"; nothing when it is JSON
// without a "reply" text. Returns replyAck, replyNak or replyTimeout.
ReplyResult waitReply(void* socket);

// As waitReply, and copies the text under "ack" into out if the reply is an "ack" with such a text; otherwise
// out stays as it was.
ReplyResult waitReplyText(void* socket, ReplyText& out);

// Sends {"request": "event", "module": module, "event": event, "topic": topic} and waits for the reply as
// waitReply does.
void sendEvent(void* socket, const char* module, const char* event, const char* topic);

} // namespace mpegfe
