// A browser's end of a connection to a web server, as plain as a test needs it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace testSupport {

// Every wait is bounded: what does not come in time is missing from the text.
class HttpConnection {
  public:
    // To 127.0.0.1. `receiveBytes` bounds the system's buffer for what has not been read, 0 does not.
    explicit HttpConnection(std::uint16_t port, int receiveBytes = 0);
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;
    ~HttpConnection();

    // False when the other side has gone.
    bool send(std::string_view bytes) const;

    // GET with a Host that is right, and further lines each with its end.
    void get(const std::string& path, const std::string& lines = {}) const;

    // What comes until it ends so, or until the other side ends the connection.
    std::string readUntil(const std::string& end);
    std::string readToEnd() {
        return readUntil({});
    }

    // Without waiting.
    std::string readWhatHasCome();

    // One answer, its body by its length, without the line that tells the date.
    std::string readAnswer();

    // The next message of a stream of events that has been asked for, without its frame of chunks: its lines.
    std::string readEvent();

    int descriptor() const {
        return socket;
    }

  private:
    bool receive();
    std::string takeUntil(const std::string& end);

    int socket;
    std::uint16_t port;
    std::string received; // and not taken
    bool hasHead = false; // of a stream
    std::string stream;   // the same without chunks
};

} // namespace testSupport
