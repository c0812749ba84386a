// The lists of the PID list and the program list, which stop short of the end of the buffer.
#pragma once

#include "documents/documentText.h"

#include <cstdio>
#include <string_view>

namespace mpegfe {

// Writes entries 0 to count - 1 with write(index), a comma between them, and the tail behind the last. When
// one more entry as long as the last would pass listTextLimit characters, prints overflowLine and writes no
// more of them, also when that was the last one. An entry that is so much longer than the one before it that
// it does not fit before the tail is taken back.
template <typename WriteEntry>
void appendEntries(DocumentText& text, int count, const char* overflowLine, std::string_view tail,
                   WriteEntry write) {
    text.end -= tail.size();
    for (int index = 0; index < count; ++index) {
        const std::size_t lengthBefore = textLength(text);
        if (index > 0) {
            append(text, ",");
        }
        const std::size_t entryStart = textLength(text);
        write(index);
        const std::size_t length = textLength(text);
        if (text.truncated || length + (length - entryStart) > listTextLimit) {
            if (text.truncated) {
                rewindText(text, lengthBefore);
            }
            std::puts(overflowLine);
            break;
        }
    }
    text.end += tail.size();
    append(text, tail);
}

} // namespace mpegfe
