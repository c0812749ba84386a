// Constant texts as template arguments, joined when the service is compiled: what a document has between two
// values is one piece, whoever contributed to it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace mpegfe {

template <std::size_t length>
struct Literal {
    char text[length + 1]{};

    constexpr Literal() = default;
    // Not explicit, so that a quoted text is a template argument.
    constexpr Literal(const char (&quoted)[length + 1]) {
        std::copy_n(quoted, length, text);
    }
    constexpr std::string_view view() const {
        return {text, text + length};
    }
};

template <std::size_t size>
Literal(const char (&)[size]) -> Literal<size - 1>;

template <std::size_t left, std::size_t right>
constexpr Literal<left + right> operator+(const Literal<left>& first, const Literal<right>& second) {
    Literal<left + right> both;
    std::copy_n(second.text, right, std::copy_n(first.text, left, both.text));
    return both;
}

// The pieces one behind the other.
template <Literal... pieces>
inline constexpr auto joined = (Literal("") + ... + pieces);

} // namespace mpegfe
