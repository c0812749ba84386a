#include "tables/characterTables.h"

#include <iconv.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>

namespace board {

namespace {

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

    std::string convert(std::string_view text, std::size_t unit, Meaning meaning) {
        std::string result;
        while (!text.empty()) {
            text.remove_prefix(usable() ? convertSound(text, result) : 0);
            if (!text.empty()) {
                result += meaning(text.front());
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

} // namespace

std::string toUtf8(std::string_view table, std::string_view text, std::size_t unit, Meaning meaning) {
    return converterOf(table).convert(text, unit, meaning);
}

} // namespace board
