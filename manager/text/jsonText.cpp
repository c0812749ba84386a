#include "text/jsonText.h"

#include "text/displayText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace manager {
namespace {

std::string escapedUnit(unsigned unit) {
    std::array<char, sizeof "\\uFFFFFFFF"> text{};
    std::snprintf(text.data(), text.size(), "\\u%04X", unit);
    return text.data();
}

// As UTF-16 units, two where one is too small.
std::string escaped(std::int32_t codePoint) {
    constexpr unsigned firstOfTwo = 0x10000;
    const auto point = static_cast<unsigned>(codePoint);
    if (point < firstOfTwo) {
        return escapedUnit(point);
    }
    const unsigned rest = point - firstOfTwo;
    return escapedUnit(0xD800U + (rest >> 10U)) + escapedUnit(0xDC00U + (rest & 0x3FFU));
}

} // namespace

std::string jsonString(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        if (character.codePoint < 0) {
            result += "\uFFFD";
        } else if (!isDisplayable(character)) {
            result += escaped(character.codePoint);
        } else {
            if (character.bytes == "\"" || character.bytes == "\\") {
                result += '\\';
            }
            result += character.bytes;
        }
    }
    return result + '"';
}

std::string jsonNumber(double value) {
    constexpr std::size_t longest = 400; // with all digits of the largest or the smallest
    std::array<char, longest> number{};
    return {number.data(),
            std::to_chars(number.data(), number.data() + longest, value, std::chars_format::fixed).ptr};
}

JsonText& JsonText::member(std::string_view key, std::string_view value) {
    name(key);
    text += jsonString(value);
    return *this;
}

JsonText& JsonText::member(std::string_view key, std::int64_t value) {
    name(key);
    text += std::to_string(value);
    return *this;
}

JsonText& JsonText::member(std::string_view key, bool value) {
    name(key);
    text += value ? "true" : "false";
    return *this;
}

JsonText& JsonText::member(std::string_view key, double value) {
    if (!std::isfinite(value)) {
        return null(key);
    }
    return written(key, jsonNumber(value));
}

JsonText& JsonText::null(std::string_view key) {
    name(key);
    text += "null";
    return *this;
}

JsonText& JsonText::written(std::string_view key, std::string_view json) {
    name(key);
    text += json;
    return *this;
}

void JsonText::separate() {
    if (!text.empty() && text.back() != '{' && text.back() != '[') {
        text += ',';
    }
}

void JsonText::name(std::string_view key) {
    separate();
    text += jsonString(key);
    text += ':';
}

} // namespace manager
