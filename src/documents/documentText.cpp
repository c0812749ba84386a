#include "documents/documentText.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace {

// How a number with decimals is written: "%*.*f".
struct FixedForm {
    std::size_t width; // padded with blanks
    int decimals;
    unsigned scale; // ten to the power of decimals
};
constexpr FixedForm rateForm{8, 3, 1000};
constexpr FixedForm pictureRateForm{6, 2, 100};

constexpr float kilobitLimit = 1000000.0F; // bit/s; above it rates are written in Mbps

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

// Two digits at a time, as most PIDs and program numbers have two to four.
struct DigitPairs {
    char digits[200];
};
constexpr DigitPairs makeDigitPairs() {
    DigitPairs pairs{};
    for (int number = 0; number < 100; ++number) {
        pairs.digits[2 * number] = static_cast<char>('0' + number / 10);
        pairs.digits[2 * number + 1] = static_cast<char>('0' + number % 10);
    }
    return pairs;
}
constexpr DigitPairs digitPairs = makeDigitPairs();

char* putPair(char* at, unsigned number) {
    std::memcpy(at, digitPairs.digits + 2 * number, 2);
    return at + 2;
}

// Below 100, without a leading zero.
char* putShort(char* at, unsigned number) {
    if (number < 10) {
        *at = static_cast<char>('0' + number);
        return at + 1;
    }
    return putPair(at, number);
}

char* putUnsigned(char* at, std::uint32_t number) {
    if (number < 100) {
        return putShort(at, number);
    }
    if (number < 10000) {
        return putPair(putShort(at, number / 100), number % 100);
    }
    return std::to_chars(at, at + longestInteger, number).ptr;
}

// number, which fills less than width, moved to the end of width.
char* padLeft(char* number, char* end, std::size_t width) {
    const auto length = static_cast<std::size_t>(end - number);
    if (length >= width) {
        return end;
    }
    std::memmove(number + (width - length), number, length);
    std::memset(number, ' ', width - length);
    return number + width;
}

// Texts of 10^9 last decimals and more go the slow way, so that what is left fits 32 bits.
constexpr double fastLimit = 1000000.0;

char* formatFixed(char* at, double value, const FixedForm& form) {
    if (std::signbit(value) || !(value < fastLimit)) {
        char* end = std::to_chars(at, at + longestRate, value, std::chars_format::fixed, form.decimals).ptr;
        return padLeft(at, end, form.width);
    }
    const auto scaled = static_cast<std::uint32_t>(roundScaled(value, form.scale));
    char* end = putUnsigned(at, scaled / form.scale);
    *end++ = '.';
    std::uint32_t fraction = scaled % form.scale;
    for (char* digit = end + form.decimals; digit != end; fraction /= 10) {
        *--digit = static_cast<char>('0' + fraction % 10);
    }
    return padLeft(at, end + form.decimals, form.width);
}

char* putUnit(char* at, const char (&unit)[5]) {
    std::memcpy(at, unit, 4);
    return at + 4;
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

char* formatNumber(char* at, std::int32_t number) {
    if (number < 0) {
        *at++ = '-';
        return putUnsigned(at, 0U - static_cast<std::uint32_t>(number));
    }
    return putUnsigned(at, static_cast<std::uint32_t>(number));
}

char* formatHex(char* at, std::uint32_t number) {
    *at++ = '0';
    *at++ = 'x';
    return std::to_chars(at, at + longestHex - 2, number, 16).ptr;
}

char* formatRate(char* at, float rate) {
    if (rate > kilobitLimit) {
        return putUnit(formatFixed(at, static_cast<double>(rate) / 1000000.0, rateForm), "Mbps");
    }
    return formatRateKbps(at, rate);
}

char* formatRateKbps(char* at, float rate) {
    return putUnit(formatFixed(at, static_cast<double>(rate) / 1000.0, rateForm), "Kbps");
}

char* formatPictureRate(char* at, float picturesPerSecond) {
    return formatFixed(at, static_cast<double>(picturesPerSecond), pictureRateForm);
}
