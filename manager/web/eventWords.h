// What events of the picture are called outside.
#pragma once

#include "picture/picture.h"

namespace manager {

enum class EventSubject { nothing, pid, program };

struct EventWords {
    EventKind kind;
    const char* word; // nullptr: not shown
    EventSubject subject;
};

const EventWords& wordsFor(EventKind kind);

} // namespace manager
