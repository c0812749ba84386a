// The list of entries that most PSI documents end with.
#pragma once

#include "documents/documentText.h"

#include <string_view>

namespace mpegfe {

// Writes "details" as an array of the first count entries of a record, each with write(text, entry), a comma
// between them; with a count of 0 it is the text emptyWord instead.
template <typename Entry, std::size_t extent, typename Count, typename WriteEntry>
void appendDetails(DocumentText& text, const Entry (&entries)[extent], Count count,
                   std::string_view emptyWord, WriteEntry write) {
    append(text, R"("details":)");
    if (count == 0) {
        append(text, R"(")");
        append(text, emptyWord);
        append(text, R"(")");
        return;
    }
    append(text, "[");
    const int clamped = clampCount(count, static_cast<int>(extent));
    for (int k = 0; k < clamped; ++k) {
        if (k > 0) {
            append(text, ",");
        }
        write(text, entries[k]);
    }
    append(text, "]");
}

} // namespace mpegfe
