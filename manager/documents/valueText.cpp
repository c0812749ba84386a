#include "documents/valueText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <system_error>

namespace manager {
namespace {

template <typename Number, typename... Form>
bool readWhole(std::string_view text, Number& number, Form... form) {
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number, form...);
    return failure == std::errc{} && stop == end;
}

bool takeSuffix(std::string_view& text, std::string_view suffix) {
    if (!text.ends_with(suffix)) {
        return false;
    }
    text.remove_suffix(suffix.size());
    return true;
}

void dropPadding(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

// A number with three decimals, times a thousand: exact, because the digits are read without their point.
bool readThousandfold(std::string_view text, double& number) {
    constexpr std::size_t decimals = 3;
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos) {
        return readWhole(text, number) && !std::isfinite(number);
    }
    if (text.size() > longestValueText || text.size() - point != decimals + 1) {
        return false;
    }
    std::array<char, longestValueText> digits{};
    char* const end = std::remove_copy(text.begin(), text.end(), digits.begin(), '.');
    return readWhole({digits.data(), end}, number);
}

// With up to one decimal, in thousands.
bool readThousands(std::string_view text, std::optional<int>& number) {
    constexpr double most = 1e6;
    double thousands = 0;
    if (!readWhole(text, thousands) || !(thousands >= 0 && thousands <= most)) {
        return false;
    }
    number = static_cast<int>(std::lround(thousands * 1000));
    return true;
}

constexpr std::string_view unknown = "Unknown";

} // namespace

bool readNumber(std::string_view text, int& number) {
    return readWhole(text, number);
}

bool readHex(std::string_view text, int& number) {
    constexpr std::string_view prefix = "0x";
    constexpr int base = 16;
    std::uint32_t value = 0;
    if (!text.starts_with(prefix) || !readWhole(text.substr(prefix.size()), value, base) ||
        value > static_cast<std::uint32_t>(std::numeric_limits<int>::max())) {
        return false;
    }
    number = static_cast<int>(value);
    return true;
}

bool readRate(std::string_view text, double& bitPerSecond) {
    dropPadding(text);
    const bool isMega = text.ends_with("Mbps");
    if ((!takeSuffix(text, "Kbps") && !takeSuffix(text, "Mbps")) || !readThousandfold(text, bitPerSecond)) {
        return false;
    }
    bitPerSecond *= isMega ? 1000 : 1;
    return true;
}

bool readDecimal(std::string_view text, double& number) {
    dropPadding(text);
    return readWhole(text, number);
}

bool readBitRate(std::string_view text, std::optional<int>& bitPerSecond) {
    bitPerSecond.reset();
    return text == unknown ||
           ((takeSuffix(text, "kbps") || text == "0") && readThousands(text, bitPerSecond));
}

bool readSampleRate(std::string_view text, std::optional<int>& hertz) {
    hertz.reset();
    return text == unknown || (takeSuffix(text, "kHz") && readThousands(text, hertz));
}

} // namespace manager
