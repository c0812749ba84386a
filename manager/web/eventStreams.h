// Streams of Server-Sent Events: what each has still to send.
#pragma once

#include "web/servedAddress.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <microhttpd.h>
#include <string>

namespace manager {

using EventText = std::shared_ptr<const std::string>;

// A message as Server-Sent Events have it. The data is one line.
std::string eventText(const char* event, std::int64_t id, const std::string& data);

// Messages are shared by all streams; a stream has a place in a queue of them. A browser that reads too
// slowly is disconnected, and so is one that acknowledges nothing any more; one that has gone is noticed at
// once.
class EventStreams {
  public:
    EventStreams();

    // A response that sends this message and then whatever is published. Nothing when there is no room for
    // another stream.
    MHD_Response* open(MHD_Connection* connection, EventText first);

    void publish(const EventText& message);

    // Readable when a browser has gone.
    int goneDescriptor() const {
        return gone.get();
    }
    void dropGone();

    void dropAll();

    // Whether a stream has been taken up again or has handed on a piece since this was last asked.
    bool haveMoved();

    std::size_t size() const {
        return streams.size();
    }

  private:
    struct Stream {
        EventStreams& all;
        MHD_Connection* connection;
        int descriptor;
        std::deque<EventText> waiting{};
        std::size_t sent = 0; // bytes of the first of them
        bool isSuspended = false;
        bool isDropped = false;
    };

    static ssize_t read(void* closure, std::uint64_t position, char* buffer, std::size_t room);
    static void close(void* closure);
    static void wake(Stream& stream);
    static void drop(Stream& stream);

    Descriptor gone; // epoll
    std::list<Stream> streams;
    bool moved = false;
};

} // namespace manager
