#include "tables/multipleStrings.h"

#include "tables/byteReader.h"
#include "tables/characterTables.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace board {

namespace {

constexpr std::uint8_t uncompressed = 0;
constexpr std::uint8_t utf16Mode = 0x3F;

// The modes that are the upper byte of all their characters (ATSC A/65, table 6.41).
bool isPage(std::uint8_t mode) {
    struct Pages {
        std::uint8_t first;
        std::uint8_t last;
    };
    static constexpr std::array<Pages, 5> all{
        {{0x00, 0x06}, {0x09, 0x0E}, {0x10, 0x10}, {0x20, 0x27}, {0x30, 0x33}}};
    return std::ranges::any_of(all,
                               [mode](const Pages& one) { return mode >= one.first && mode <= one.last; });
}

// Nothing where it cannot be decoded.
std::optional<std::string> segmentText(std::uint8_t compression, std::uint8_t mode, SectionBytes bytes) {
    if (bytes.empty()) {
        return std::string();
    }
    if (compression != uncompressed || (mode != utf16Mode && !isPage(mode))) {
        return std::nullopt;
    }
    if (mode == utf16Mode) {
        return utf16Text(bytes);
    }
    std::vector<std::uint8_t> wide;
    for (const std::uint8_t byte : bytes) {
        wide.push_back(mode);
        wide.push_back(byte);
    }
    return utf16Text(wide);
}

} // namespace

MultipleStrings multipleStrings(SectionBytes structure) {
    MultipleStrings result;
    ByteReader reader(structure);
    if (structure.empty() || reader.byte() == 0) { // number_strings
        return result;
    }
    const SectionBytes language = reader.bytes(languageSize);
    result.language.assign(language.begin(), language.end());
    for (unsigned segments = reader.byte(); segments > 0 && !reader.failed(); --segments) {
        const std::uint8_t compression = reader.byte();
        const std::uint8_t mode = reader.byte();
        const SectionBytes bytes = reader.bytes(reader.byte());
        const auto text = reader.failed() ? std::nullopt : segmentText(compression, mode, bytes);
        result.readable = result.readable && text;
        result.text += text.value_or(std::string(undecodable));
    }
    if (reader.failed() && result.readable) { // it ends before its segments
        result.readable = false;
        result.text += undecodable;
    }
    return result;
}

std::string utf16Text(SectionBytes text) {
    constexpr std::size_t unit = 2;
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); at += unit) {
        const SectionBytes one = text.subspan(at, std::min(unit, text.size() - at));
        if (std::ranges::count(one, 0) == unit) {
            break;
        }
        bytes.append(one.begin(), one.end());
    }
    return toUtf8("UTF-16BE", bytes, unit);
}

} // namespace board
