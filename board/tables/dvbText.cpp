#include "tables/dvbText.h"

#include "companions/release.h"

#include <bitstream/dvb/si.h>

#include <iconv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>

namespace board {

namespace {

constexpr std::string_view undecodable = "?";
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

// The way from one character table to UTF-8.
class Converter {
  public:
    explicit Converter(const char* table) : handle_(iconv_open("UTF-8", table)) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (usable()) {
            iconv_close(handle_);
        }
    }

    // Converts all of the text. What makes no sense is skipped by units of so many bytes.
    std::string convert(std::string_view text, std::size_t unit) {
        std::string result;
        while (!text.empty()) {
            text.remove_prefix(usable() ? convertSound(text, result) : 0);
            if (!text.empty()) {
                result += unit == 1 ? meaningOf(text.front()) : undecodable;
                text.remove_prefix(std::min(unit, text.size()));
            }
        }
        return result;
    }

  private:
    bool usable() const {
        return std::bit_cast<std::intptr_t>(handle_) != -1;
    }

    // Appends the text up to what makes no sense. Returns its length.
    std::size_t convertSound(std::string_view text, std::string& result) {
        constexpr std::size_t longestCharacter = 4;
        std::string converted(text.size() * longestCharacter, '\0');
        std::string given(text); // which iconv only reads, but does not say so
        char* from = given.data();
        std::size_t left = given.size();
        char* to = converted.data();
        std::size_t room = converted.size();
        iconv(handle_, &from, &left, &to, &room);
        result.append(converted, 0, converted.size() - room);
        return text.size() - left;
    }

    iconv_t handle_;
};

// Opened when a text first needs it, and kept: there are as many as character tables.
Converter& converterOf(std::string_view table) {
    static std::map<std::string, Converter, std::less<>> converters;
    const auto found = converters.find(table);
    if (found != converters.end()) {
        return found->second;
    }
    const std::string name(table);
    return converters.try_emplace(name, name.c_str()).first->second;
}

// ISO/IEC 6937 as DVB has it, with an euro sign that the standard itself does not have.
std::string fromDefaultTable(std::string_view text) {
    constexpr char euroCode = '\xA4';
    Converter& converter = converterOf(defaultTable);
    std::string result;
    for (auto euro = text.find(euroCode); euro != std::string_view::npos; euro = text.find(euroCode)) {
        result += converter.convert(text.substr(0, euro), 1) + "\u20AC";
        text.remove_prefix(euro + 1);
    }
    return result + converter.convert(text, 1);
}

std::string fromUnknownTable(std::string_view text) {
    return converterOf("ASCII").convert(text, 1);
}

std::string fromTable(std::string_view table, std::string_view text) {
    if (table.empty()) {
        return fromUnknownTable(text);
    }
    if (table == defaultTable) {
        return fromDefaultTable(text);
    }
    // UTF-16 is the same where there are no surrogates, and knows what they mean where there are.
    return table == twoByteTable ? converterOf("UTF-16BE").convert(text, 2)
                                 : converterOf(table).convert(text, 1);
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

// What biTStream calls with the name of a text's character table.
char* toUtf8(void* called, const char* table, char* text, std::size_t length) {
    *static_cast<bool*>(called) = true;
    return ::strdup(fromTable(table, {text, length}).c_str());
}

} // namespace

std::string dvbText(std::span<const std::uint8_t> text) {
    while (!text.empty() && text.front() == 0) { // no character table
        text = text.subspan(1);
    }
    bool known = false;
    const std::unique_ptr<char, companions::Release<std::free>> decoded(
        dvb_string_get(text.data(), text.size(), toUtf8, &known));
    return withoutControlCodes(known ? std::string(decoded.get()) : fromUnknownTable(decoded.get()));
}

} // namespace board
