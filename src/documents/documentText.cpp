#include "documents/documentText.h"

#include <charconv>
#include <cstring>

namespace {

// The longest number is a rate: 39 digits before the point, three behind it, and a sign.
constexpr std::size_t longestNumber = 64;

void appendPadded(DocumentText& text, std::string_view number, std::size_t width) {
    constexpr std::string_view spaces = "        ";
    if (number.size() < width) {
        append(text, spaces.substr(0, width - number.size()));
    }
    append(text, number);
}

// "%*.*f".
void appendFixed(DocumentText& text, double value, int decimals, std::size_t width) {
    char number[longestNumber];
    const auto end =
        std::to_chars(number, number + sizeof number, value, std::chars_format::fixed, decimals).ptr;
    appendPadded(text, {number, end}, width);
}

constexpr int rateDecimals = 3;
constexpr std::size_t rateWidth = 8;
constexpr int pictureRateDecimals = 2;
constexpr std::size_t pictureRateWidth = 6;
constexpr float kilobitLimit = 1000000.0F; // bit/s; above it rates are written in Mbps

} // namespace

DocumentText startText(DocumentBuffer& buffer) {
    return {buffer, buffer, buffer + sizeof buffer - 1, false};
}

std::size_t textLength(const DocumentText& text) {
    return static_cast<std::size_t>(text.next - text.begin);
}

void rewindText(DocumentText& text, std::size_t length) {
    text.next = text.begin + length;
    text.truncated = false;
}

std::size_t finishText(DocumentText& text) {
    *text.next = '\0';
    return textLength(text);
}

void append(DocumentText& text, std::string_view piece) {
    std::size_t length = piece.size();
    const auto room = static_cast<std::size_t>(text.end - text.next);
    if (length > room) {
        length = room;
        text.truncated = true;
    }
    std::memcpy(text.next, piece.data(), length);
    text.next += length;
}

void appendNumber(DocumentText& text, std::int32_t number) {
    char digits[longestNumber];
    append(text, {digits, std::to_chars(digits, digits + sizeof digits, number).ptr});
}

void appendHex(DocumentText& text, std::uint32_t number) {
    char digits[longestNumber];
    append(text, "0x");
    append(text, {digits, std::to_chars(digits, digits + sizeof digits, number, 16).ptr});
}

void appendRate(DocumentText& text, float rate) {
    if (rate > kilobitLimit) {
        appendFixed(text, static_cast<double>(rate) / 1000000.0, rateDecimals, rateWidth);
        append(text, "Mbps");
    } else {
        appendRateKbps(text, rate);
    }
}

void appendRateKbps(DocumentText& text, float rate) {
    appendFixed(text, static_cast<double>(rate) / 1000.0, rateDecimals, rateWidth);
    append(text, "Kbps");
}

void appendPictureRate(DocumentText& text, float picturesPerSecond) {
    appendFixed(text, static_cast<double>(picturesPerSecond), pictureRateDecimals, pictureRateWidth);
}
