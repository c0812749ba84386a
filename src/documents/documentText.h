// The bounded cursor through which every document is written: one line of JSON, every value a string.
//
// It keeps the text's end, so nothing is measured twice, and never writes past the buffer: what does not fit
// is dropped, and truncated says so. Record text is copied without escaping, as clients expect it.
#pragma once

#include "documents/numberText.h"
#include "support/boundedText.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace mpegfe {

// Room for one document with its terminator.
inline constexpr std::size_t documentCapacity = 25000;
using DocumentBuffer = char[documentCapacity];

// Longest text that the list documents may reach: the rest of the buffer is for their tail.
inline constexpr std::size_t listTextLimit = 24990;

struct DocumentText {
    char* begin;
    char* next; // where the next character goes
    char* end;  // last byte of the buffer, kept for the terminator
    bool truncated;
};

// All of this is inline so that the compiler keeps the cursor in registers: through a reference, each
// character stored could have changed it.

// An empty text in this buffer.
inline DocumentText startText(DocumentBuffer& buffer) {
    return {buffer, buffer, buffer + sizeof buffer - 1, false};
}

// Characters written so far.
inline std::size_t textLength(const DocumentText& text) {
    return static_cast<std::size_t>(text.next - text.begin);
}

// Takes back everything behind a length that textLength returned earlier.
inline void rewindText(DocumentText& text, std::size_t length) {
    text.next = text.begin + length;
    text.truncated = false;
}

// Writes the terminator and returns the text's length without it.
inline std::size_t finishText(DocumentText& text) {
    *text.next = '\0';
    return textLength(text);
}

// Characters that can still be written.
inline std::size_t roomLeft(const DocumentText& text) {
    return static_cast<std::size_t>(text.end - text.next);
}

// Appends a piece as it stands. What does not fit has a copy of its own, so that the other one has a length
// that is known when it is compiled.
inline void append(DocumentText& text, std::string_view piece) {
    const std::size_t room = roomLeft(text);
    if (piece.size() > room) [[unlikely]] {
        std::memcpy(text.next, piece.data(), room);
        text.next = text.end;
        text.truncated = true;
        return;
    }
    std::memcpy(text.next, piece.data(), piece.size());
    text.next += piece.size();
}

// Appends a number with one of the functions of numberText.h, which needs room for its longest text.
template <std::size_t longest, typename Number>
void appendFormatted(DocumentText& text, char* (*format)(char*, Number), Number number) {
    if (roomLeft(text) >= longest) [[likely]] {
        text.next = format(text.next, number);
    } else {
        char scratch[longest];
        append(text, {scratch, format(scratch, number)});
    }
}

// In decimal.
inline void appendNumber(DocumentText& text, std::int32_t number) {
    appendFormatted<longestInteger>(text, formatNumber, number);
}

// In hexadecimal: "0x2f", no leading zeros.
inline void appendHex(DocumentText& text, std::uint32_t number) {
    appendFormatted<longestHex>(text, formatHex, number);
}

// A rate in bit/s: "%8.3fMbps" of rate / 1000000 above 1000000, else "%8.3fKbps" of rate / 1000.
inline void appendRate(DocumentText& text, float rate) {
    appendFormatted<longestRate>(text, formatRate, rate);
}

// A rate in bit/s, always "%8.3fKbps" of rate / 1000: the form of the PSI documents.
inline void appendRateKbps(DocumentText& text, float rate) {
    appendFormatted<longestRate>(text, formatRateKbps, rate);
}

// "%6.2f".
inline void appendPictureRate(DocumentText& text, float picturesPerSecond) {
    appendFormatted<longestRate>(text, formatPictureRate, picturesPerSecond);
}

// A text field, up to its zero byte or its width.
template <std::size_t width>
void appendField(DocumentText& text, const char (&field)[width]) {
    append(text, {field, fieldLength(field)});
}

} // namespace mpegfe
