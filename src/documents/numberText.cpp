#include "documents/numberText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace mpegfe {

namespace {

constexpr float kilobitLimit = 1000000.0F; // bit/s; above it rates are written in Mbps

// How a number with decimals is written: "%*.*f".
struct FixedForm {
    std::size_t width; // padded with blanks
    int decimals;      // 2 or 3
    unsigned scale;    // ten to the power of decimals
};
constexpr FixedForm rateForm{8, 3, 1000};
constexpr FixedForm pictureRateForm{6, 2, 100};

constexpr std::size_t longestUnsigned = 10; // 4294967295

// The two digits of each number below 100.
constexpr std::array<char, 200> digitPairs = [] {
    std::array<char, 200> digits{};
    for (unsigned number = 0; number < 100; ++number) {
        digits[2 * number] = static_cast<char>('0' + number / 10);
        digits[2 * number + 1] = static_cast<char>('0' + number % 10);
    }
    return digits;
}();

char* putDigit(char* at, unsigned number) {
    *at = static_cast<char>('0' + number);
    return at + 1;
}

char* putPair(char* at, unsigned number) {
    std::memcpy(at, digitPairs.data() + 2 * number, 2);
    return at + 2;
}

// Below 100, without a leading zero.
char* putShort(char* at, unsigned number) {
    return number < 10 ? putDigit(at, number) : putPair(at, number);
}

// Most PIDs and program numbers have one to four digits: against std::to_chars this takes a sixth off the
// time of a PID list.
char* putUnsigned(char* at, std::uint32_t number) {
    if (number < 100) {
        return putShort(at, number);
    }
    if (number < 10000) {
        return putPair(putShort(at, number / 100), number % 100);
    }
    return std::to_chars(at, at + longestUnsigned, number).ptr;
}

// Blanks before a number with this many digits before its point.
template <FixedForm form>
char* putBlanks(char* at, std::uint32_t whole) {
    constexpr auto room = static_cast<int>(form.width) - form.decimals - 1;
    const int digits = 1 + (whole >= 10 ? 1 : 0) + (whole >= 100 ? 1 : 0) + (whole >= 1000 ? 1 : 0);
    std::memset(at, ' ', room);
    return digits < room ? at + (room - digits) : at;
}

template <FixedForm form>
char* putDecimals(char* at, unsigned fraction) {
    if constexpr (form.decimals == 3) {
        at = putDigit(at, fraction / 100);
    }
    return putPair(at, fraction % 100);
}

// value * scale as printf rounds it: to nearest, ties to even. Exact, because the 53 bits of a double's
// significand times a scale of at most 1000 fit 64 bits. value is not negative and below 2^52, so it has bits
// behind its point.
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

// Any number at all, infinities and NaN included.
template <FixedForm form>
char* formatAnyFixed(char* at, double value) {
    char* end = std::to_chars(at, at + longestRate, value, std::chars_format::fixed, form.decimals).ptr;
    const auto length = static_cast<std::size_t>(end - at);
    if (length >= form.width) {
        return end;
    }
    std::memmove(at + form.width - length, at, length);
    std::memset(at, ' ', form.width - length);
    return at + form.width;
}

// What streams have in practice: below it, value * scale fits 32 bits.
constexpr double usualLimit = 1000000.0;

template <FixedForm form>
char* formatFixed(char* at, double value) {
    if (std::signbit(value) || !(value < usualLimit)) {
        return formatAnyFixed<form>(at, value);
    }
    const auto scaled = static_cast<std::uint32_t>(roundScaled(value, form.scale));
    const std::uint32_t whole = scaled / form.scale;
    at = putUnsigned(putBlanks<form>(at, whole), whole);
    *at++ = '.';
    return putDecimals<form>(at, scaled % form.scale);
}

char* putUnit(char* at, const char (&unit)[5]) {
    std::memcpy(at, unit, 4);
    return at + 4;
}

} // namespace

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
        return putUnit(formatFixed<rateForm>(at, static_cast<double>(rate) / 1000000.0), "Mbps");
    }
    return formatRateKbps(at, rate);
}

char* formatRateKbps(char* at, float rate) {
    return putUnit(formatFixed<rateForm>(at, static_cast<double>(rate) / 1000.0), "Kbps");
}

char* formatPictureRate(char* at, float picturesPerSecond) {
    return formatFixed<pictureRateForm>(at, static_cast<double>(picturesPerSecond));
}

} // namespace mpegfe
