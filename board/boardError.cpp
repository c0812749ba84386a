#include "boardError.h"

#include "companions/console.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace board {

namespace {

companions::Console& console() {
    static companions::Console standardError("mpegfe-board", STDERR_FILENO);
    return standardError;
}

} // namespace

void (*makeRoomOnConsole)() = nullptr;

void say(std::string_view line) {
    if (makeRoomOnConsole != nullptr) {
        makeRoomOnConsole();
    }
    console().say(line);
}

void sayWhatWasLeftOut() {
    console().catchUp();
}

void sayAllThatWasLeftOut() {
    console().finish();
}

void print(std::string_view text) {
    switch (companions::writeOutput(text)) {
    case companions::Written::unread:
        throw OutputUnread{};
    case companions::Written::failed:
        throw BoardError({"cannot write to standard output", "room for what is printed", std::strerror(errno),
                          "what was printed is incomplete"});
    default:
        break;
    }
}

} // namespace board
