#include "reading.h"

#include "patience.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace testSupport {

std::string readUntil(int descriptor, const std::string& wanted) {
    std::string text;
    std::array<char, 4096> buffer{};
    pollfd readable{descriptor, POLLIN, 0};
    while ((wanted.empty() || text.find(wanted) == std::string::npos) &&
           poll(&readable, 1, patience.count()) == 1) {
        const ssize_t length = read(descriptor, buffer.data(), buffer.size());
        if (length == 0 || (length < 0 && errno != EAGAIN)) {
            break;
        }
        if (length > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(length));
        }
    }
    return text;
}

std::string readToEnd(int descriptor) {
    return readUntil(descriptor, {});
}

} // namespace testSupport
