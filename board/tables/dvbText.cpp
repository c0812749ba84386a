#include "tables/dvbText.h"

#include "tables/characterTables.h"

#include "companions/release.h"

#include <bitstream/dvb/si.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace board {

namespace {

constexpr std::string_view defaultTable = "ISO6937"; // the names are biTStream's
constexpr std::string_view twoByteTable = "UCS-2BE";

// What a byte means that its table does not have. Texts in UTF-8 use one-byte control codes all the same
// (ETSI EN 300 468 table A.1).
std::string_view meaningOf(char byte) {
    switch (static_cast<unsigned char>(byte)) {
    case 0x86: // emphasis on
    case 0x87: // emphasis off
        return "";
    case 0x8A:
        return "\n";
    default:
        return undecodable;
    }
}

// ISO/IEC 6937 as DVB has it, with an euro sign that the standard itself does not have.
std::string fromDefaultTable(std::string_view text) {
    constexpr char euroCode = '\xA4';
    std::string result;
    for (auto euro = text.find(euroCode); euro != std::string_view::npos; euro = text.find(euroCode)) {
        result += toUtf8(defaultTable, text.substr(0, euro), 1, meaningOf) + "\u20AC";
        text.remove_prefix(euro + 1);
    }
    return result + toUtf8(defaultTable, text, 1, meaningOf);
}

std::string fromUnknownTable(std::string_view text) {
    return toUtf8("ASCII", text, 1, meaningOf);
}

std::string fromTable(std::string_view table, std::string_view text) {
    if (table.empty()) {
        return fromUnknownTable(text);
    }
    if (table == defaultTable) {
        return fromDefaultTable(text);
    }
    // UTF-16 is the same where there are no surrogates, and knows what they mean where there are.
    return table == twoByteTable ? toUtf8("UTF-16BE", text, 2) : toUtf8(table, text, 1, meaningOf);
}

// Puts what the control codes mean in their place (ETSI EN 300 468 tables A.1 and A.2).
std::string withoutControlCodes(std::string text) {
    struct Code {
        std::string_view code;
        std::string_view meaning;
    };
    static constexpr std::array<Code, 6> codes{{
        {"\u0086", ""}, // emphasis on
        {"\u0087", ""}, // emphasis off
        {"\u008A", "\n"},
        {"\uE086", ""}, // the same in tables of more than a byte a character
        {"\uE087", ""},
        {"\uE08A", "\n"},
    }};
    for (const Code& code : codes) {
        for (auto at = text.find(code.code); at != std::string::npos; at = text.find(code.code, at)) {
            text.replace(at, code.code.size(), code.meaning);
        }
    }
    return text;
}

// A text in one of the two Huffman codes of Freesat and Freeview (ETSI TS 101 162, encoding_type_id).
bool isCompressed(std::span<const std::uint8_t> text) {
    constexpr std::uint8_t encodingTypeFollows = 0x1F;
    constexpr std::size_t nameSize = 2;
    return text.size() > nameSize && text[0] == encodingTypeFollows && (text[1] == 1 || text[1] == 2);
}

// What biTStream calls with the name of a text's character table.
char* decode(void* called, const char* table, char* text, std::size_t length) {
    *static_cast<bool*>(called) = true;
    return ::strdup(fromTable(table, {text, length}).c_str());
}

} // namespace

std::string dvbText(std::span<const std::uint8_t> text) {
    while (!text.empty() && text.front() == 0) { // no character table
        text = text.subspan(1);
    }
    if (isCompressed(text)) {
        return std::string(undecodable);
    }
    bool known = false;
    const std::unique_ptr<char, companions::Release<std::free>> decoded(
        dvb_string_get(text.data(), text.size(), decode, &known));
    return withoutControlCodes(known ? std::string(decoded.get()) : fromUnknownTable(decoded.get()));
}

} // namespace board
