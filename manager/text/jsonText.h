// JSON of one line, written from front to back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace manager {

// A text as a JSON string. What a terminal would act on is escaped, and a byte that is not UTF-8 is U+FFFD.
std::string jsonString(std::string_view text);

// A finite number in decimal, without an exponent.
std::string jsonNumber(double value);

class JsonText {
  public:
    JsonText& member(std::string_view key, std::string_view value);
    JsonText& member(std::string_view key, int value) {
        return member(key, static_cast<std::int64_t>(value));
    }
    JsonText& member(std::string_view key, std::int64_t value);
    JsonText& member(std::string_view key, bool value);
    // Null for infinities and NaN, which JSON does not have.
    JsonText& member(std::string_view key, double value);
    JsonText& member(std::string_view key, const char* value) {
        return member(key, std::string_view(value));
    }
    // Null for nothing.
    template <typename Value>
    JsonText& member(std::string_view key, const std::optional<Value>& value) {
        return value ? member(key, *value) : null(key);
    }
    JsonText& null(std::string_view key);
    // JSON that is written already.
    JsonText& written(std::string_view key, std::string_view json);

    // An array of objects, each as members(entry) writes it.
    template <typename Entries, typename Members>
    JsonText& list(std::string_view key, const Entries& entries, Members members) {
        name(key);
        text += '[';
        for (const auto& entry : entries) {
            separate();
            object([&] { members(entry); });
        }
        text += ']';
        return *this;
    }

    // Members in braces.
    template <typename Members>
    JsonText& object(Members members) {
        text += '{';
        members();
        text += '}';
        return *this;
    }

    // An object as a member.
    template <typename Members>
    JsonText& object(std::string_view key, Members members) {
        name(key);
        return object(members);
    }

    const std::string& written() const {
        return text;
    }

  private:
    void separate();
    void name(std::string_view key);

    std::string text;
};

} // namespace manager
