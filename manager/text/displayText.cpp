#include "text/displayText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <utf8proc.h>

namespace manager {
namespace {

bool changesDirection(utf8proc_int32_t codePoint) {
    constexpr std::array<utf8proc_bidi_class_t, 9> classes{
        UTF8PROC_BIDI_CLASS_LRE, UTF8PROC_BIDI_CLASS_LRO, UTF8PROC_BIDI_CLASS_RLE,
        UTF8PROC_BIDI_CLASS_RLO, UTF8PROC_BIDI_CLASS_PDF, UTF8PROC_BIDI_CLASS_LRI,
        UTF8PROC_BIDI_CLASS_RLI, UTF8PROC_BIDI_CLASS_FSI, UTF8PROC_BIDI_CLASS_PDI};
    const auto bidiClass = static_cast<utf8proc_bidi_class_t>(utf8proc_get_property(codePoint)->bidi_class);
    return std::find(classes.begin(), classes.end(), bidiClass) != classes.end();
}

// Shown as nothing, or as a blank that is none: Default_Ignorable_Code_Point, the empty pattern of Braille,
// and the marks of annotations.
bool isInvisible(utf8proc_int32_t codePoint) {
    constexpr utf8proc_int32_t noDots = 0x2800;
    constexpr utf8proc_int32_t firstMark = 0xFFF9;
    constexpr utf8proc_int32_t lastMark = 0xFFFB;
    return utf8proc_get_property(codePoint)->ignorable != 0 || codePoint == noDots ||
           (codePoint >= firstMark && codePoint <= lastMark);
}

std::string hexadecimal(const char* format, unsigned value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

std::size_t widthOf(const Character& character) {
    return character.codePoint < 0 ? 1 : static_cast<std::size_t>(utf8proc_charwidth(character.codePoint));
}

} // namespace

Character takeCharacter(std::string_view& text) {
    Character character;
    const utf8proc_ssize_t length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &character.codePoint);
    character.bytes = text.substr(0, length > 0 ? static_cast<std::size_t>(length) : 1);
    text.remove_prefix(character.bytes.size());
    return character;
}

bool isDisplayable(const Character& character) {
    constexpr std::array<utf8proc_category_t, 5> hidden{UTF8PROC_CATEGORY_CC, UTF8PROC_CATEGORY_CO,
                                                        UTF8PROC_CATEGORY_CS, UTF8PROC_CATEGORY_ZL,
                                                        UTF8PROC_CATEGORY_ZP};
    const utf8proc_int32_t codePoint = character.codePoint;
    return codePoint >= 0 &&
           std::find(hidden.begin(), hidden.end(), utf8proc_category(codePoint)) == hidden.end() &&
           !changesDirection(codePoint) && !isInvisible(codePoint);
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        width += widthOf(takeCharacter(text));
    }
    return width;
}

std::string displayable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        if (isDisplayable(character)) {
            result += character.bytes;
        } else if (character.codePoint < 0) {
            result += hexadecimal("\\x%02X", static_cast<std::uint8_t>(character.bytes.front()));
        } else {
            result += hexadecimal("\\u{%X}", static_cast<unsigned>(character.codePoint));
        }
    }
    return result;
}

std::string cutToWidth(std::string_view text, std::size_t columns) {
    const std::string_view whole = text;
    std::size_t width = 0;
    std::size_t kept = 0; // bytes that leave a column for the ellipsis
    while (!text.empty()) {
        width += widthOf(takeCharacter(text));
        if (width > columns) {
            return std::string(whole.substr(0, kept)) + "\u2026";
        }
        if (width < columns) {
            kept = whole.size() - text.size();
        }
    }
    return std::string(whole);
}

} // namespace manager
