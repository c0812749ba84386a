// The page and its interface over HTTP.
#pragma once

#include "web/eventStreams.h"
#include "web/servedAddress.h"
#include "web/webAnswer.h"

#include "companions/release.h"

#include <chrono>
#include <functional>
#include <memory>
#include <microhttpd.h>
#include <optional>

namespace manager {

// What is served beside the page's files.
struct WebContent {
    std::function<WebAnswer(const WebRequest& request)> answer;
    std::function<EventText()> firstEvent; // of a stream that begins
};

// Waits for nothing itself, has no thread, and reads no clock but libmicrohttpd's own for idle connections.
class WebServer {
  public:
    // Serves at an address from now on. Throws ManagerError (noEndpoints) where that fails.
    WebServer(ServedAddress& at, WebContent what);
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;
    ~WebServer();

    // Readable when there is something to do.
    int workDescriptor() const;
    int goneDescriptor() const {
        return eventStreams.goneDescriptor();
    }
    // How long at the most until there is something to do. Nothing: until something is readable.
    std::optional<std::chrono::milliseconds> patience() const;

    // Does what can be done without waiting.
    void step();

    // Serves a connection that somebody else has taken. False when there is no room for it.
    bool adopt(Descriptor connection);

    // To every stream of events.
    void publish(const EventText& message);

    // How many streams of events are open.
    std::size_t streams() const {
        return eventStreams.size();
    }

  private:
    static MHD_Result handle(void* server, MHD_Connection* connection, const char* url, const char* method,
                             const char* version, const char* data, std::size_t* dataSize, void** state);
    MHD_Result answer(MHD_Connection* connection, std::string_view path, std::string_view method);

    ServedAddress& address;
    WebContent content;
    EventStreams eventStreams;
    std::unique_ptr<MHD_Daemon, companions::Release<MHD_stop_daemon>> daemon;
};

} // namespace manager
