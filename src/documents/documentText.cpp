#include "documents/documentText.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace {

// The longest number is a rate: 39 digits before the point, three behind it, and a sign.
constexpr std::size_t longestNumber = 64;

// How a number with decimals is written: "%*.*f".
struct FixedForm {
    std::size_t width; // padded with blanks
    int decimals;
    unsigned scale; // ten to the power of decimals
};
constexpr FixedForm rateForm{8, 3, 1000};
constexpr FixedForm pictureRateForm{6, 2, 100};

constexpr float kilobitLimit = 1000000.0F; // bit/s; above it rates are written in Mbps

void appendPadded(DocumentText& text, std::string_view number, std::size_t width) {
    constexpr std::string_view blanks = "        ";
    if (number.size() < width) {
        append(text, blanks.substr(0, width - number.size()));
    }
    append(text, number);
}

// Doubles below this have fraction bits, so that roundScaled can shift them out.
constexpr double integersOnly = 4503599627370496.0; // 2^52

// value * scale as printf rounds it: to nearest, ties to even. Exact, because the 53 bits of a double's
// significand times a scale of at most 1000 fit 64 bits. value is not negative and below integersOnly.
std::uint64_t roundScaled(double value, unsigned scale) {
    constexpr int significandBits = 52;
    constexpr int exponentBias = 1023;
    constexpr std::uint64_t hiddenBit = std::uint64_t{1} << significandBits;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int fractionBits = exponentBias + significandBits - static_cast<int>(bits >> significandBits);
    if (fractionBits > 63) {
        return 0; // less than half of the last decimal
    }
    const std::uint64_t product = ((bits & (hiddenBit - 1)) | hiddenBit) * scale;
    const std::uint64_t whole = product >> fractionBits;
    const std::uint64_t rest = product - (whole << fractionBits);
    const std::uint64_t half = std::uint64_t{1} << (fractionBits - 1);
    return whole + (rest > half || (rest == half && whole % 2 == 1) ? 1 : 0);
}

void appendFixed(DocumentText& text, double value, const FixedForm& form) {
    char number[longestNumber];
    char* end = nullptr;
    if (!std::signbit(value) && value < integersOnly) {
        const std::uint64_t scaled = roundScaled(value, form.scale);
        end = std::to_chars(number, number + sizeof number, scaled / form.scale).ptr;
        *end++ = '.';
        auto fraction = static_cast<unsigned>(scaled % form.scale);
        for (char* digit = end + form.decimals; digit != end; fraction /= 10) {
            *--digit = static_cast<char>('0' + fraction % 10);
        }
        end += form.decimals;
    } else {
        end =
            std::to_chars(number, number + sizeof number, value, std::chars_format::fixed, form.decimals).ptr;
    }
    appendPadded(text, {number, end}, form.width);
}

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
        appendFixed(text, static_cast<double>(rate) / 1000000.0, rateForm);
        append(text, "Mbps");
    } else {
        appendRateKbps(text, rate);
    }
}

void appendRateKbps(DocumentText& text, float rate) {
    appendFixed(text, static_cast<double>(rate) / 1000.0, rateForm);
    append(text, "Kbps");
}

void appendPictureRate(DocumentText& text, float picturesPerSecond) {
    appendFixed(text, static_cast<double>(picturesPerSecond), pictureRateForm);
}
