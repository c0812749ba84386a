// The bounded cursor through which every document is written: one line of JSON, every value a string.
//
// It keeps the text's end, so nothing is measured twice, and never writes past the buffer: what does not fit
// is dropped, and truncated says so. Record text is copied without escaping, as clients expect it.
#pragma once

#include "support/boundedText.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

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

// An empty text in this buffer.
DocumentText startText(DocumentBuffer& buffer);

// Characters written so far.
std::size_t textLength(const DocumentText& text);

// Takes back everything behind a length that textLength returned earlier.
void rewindText(DocumentText& text, std::size_t length);

// Writes the terminator and returns the text's length without it.
std::size_t finishText(DocumentText& text);

// Appends a piece as it stands. Inline, so that the constant pieces that make up most of a document are
// stored without a call.
inline void append(DocumentText& text, std::string_view piece) {
    std::size_t length = piece.size();
    const auto room = static_cast<std::size_t>(text.end - text.next);
    if (length > room) [[unlikely]] {
        length = room;
        text.truncated = true;
    }
    std::memcpy(text.next, piece.data(), length);
    text.next += length;
}

// Append a number in decimal, or in hexadecimal ("0x2f", no leading zeros).
void appendNumber(DocumentText& text, std::int32_t number);
void appendHex(DocumentText& text, std::uint32_t number);

// A rate in bit/s: "%8.3fMbps" of rate / 1000000 above 1000000, else "%8.3fKbps" of rate / 1000.
void appendRate(DocumentText& text, float rate);

// A rate in bit/s, always "%8.3fKbps" of rate / 1000: the form of the PSI documents.
void appendRateKbps(DocumentText& text, float rate);

// "%6.2f".
void appendPictureRate(DocumentText& text, float picturesPerSecond);

// A text field, up to its zero byte or its width.
template <std::size_t width>
void appendField(DocumentText& text, const char (&field)[width]) {
    append(text, {field, fieldLength(field)});
}
