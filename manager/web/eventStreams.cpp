#include "web/eventStreams.h"

#include "tunables.h"

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace manager {

std::string eventText(const char* event, std::int64_t id, const std::string& data) {
    return "event: " + std::string(event) + "\nid: " + std::to_string(id) + "\ndata: " + data + "\n\n";
}

EventStreams::EventStreams() : gone(epoll_create1(EPOLL_CLOEXEC)) {
    if (gone.get() < 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_create1");
    }
}

MHD_Response* EventStreams::open(MHD_Connection* connection, EventText first) {
    constexpr auto vanished = static_cast<unsigned>(tunables::vanishedBrowser.count());
    const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    if (streams.size() == tunables::mostStreams || info == nullptr) {
        return nullptr;
    }
    const int descriptor = info->connect_fd;
    setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &tunables::streamSendBytes, sizeof(int));
    setsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &vanished, sizeof vanished);
    Stream& stream = streams.emplace_back(Stream{*this, connection, descriptor});
    stream.waiting.push_back(std::move(first));
    MHD_Response* const response =
        MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, tunables::requestBytes, read, &stream, close);
    if (response == nullptr) {
        streams.pop_back();
        return nullptr;
    }
    epoll_event event{EPOLLRDHUP | EPOLLONESHOT, {&stream}};
    epoll_ctl(gone.get(), EPOLL_CTL_ADD, descriptor, &event);
    return response;
}

void EventStreams::publish(const EventText& message) {
    for (Stream& stream : streams) {
        if (stream.waiting.size() == tunables::mostWaiting) {
            drop(stream);
        } else if (!stream.isDropped) {
            stream.waiting.push_back(message);
            wake(stream);
        }
    }
}

bool EventStreams::haveMoved() {
    return std::exchange(moved, false);
}

void EventStreams::dropGone() {
    epoll_event event{};
    while (epoll_wait(gone.get(), &event, 1, 0) == 1) {
        drop(*static_cast<Stream*>(event.data.ptr));
    }
}

void EventStreams::dropAll() {
    std::ranges::for_each(streams, drop);
}

ssize_t EventStreams::read(void* closure, std::uint64_t /*position*/, char* buffer, std::size_t room) {
    Stream& stream = *static_cast<Stream*>(closure);
    if (stream.isDropped) {
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }
    if (stream.waiting.empty()) {
        MHD_suspend_connection(stream.connection);
        stream.isSuspended = true;
        return 0;
    }
    const std::string& message = *stream.waiting.front();
    const std::size_t length = message.copy(buffer, room, stream.sent);
    stream.sent += length;
    stream.all.moved = true;
    if (stream.sent == message.size()) {
        stream.waiting.pop_front();
        stream.sent = 0;
    }
    return static_cast<ssize_t>(length);
}

// The response is destroyed ahead of its connection's socket.
void EventStreams::close(void* closure) {
    Stream& closed = *static_cast<Stream*>(closure);
    EventStreams& all = closed.all;
    epoll_ctl(all.gone.get(), EPOLL_CTL_DEL, closed.descriptor, nullptr);
    all.streams.remove_if([&](const Stream& stream) { return &stream == &closed; });
}

void EventStreams::wake(Stream& stream) {
    if (stream.isSuspended) {
        stream.isSuspended = false;
        stream.all.moved = true;
        MHD_resume_connection(stream.connection);
    }
}

// Also one that is not asked for more, as its socket takes none.
void EventStreams::drop(Stream& stream) {
    stream.isDropped = true;
    stream.waiting.clear();
    stream.sent = 0;
    shutdown(stream.descriptor, SHUT_RDWR);
    wake(stream);
}

} // namespace manager
