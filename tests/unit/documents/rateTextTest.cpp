// Rate texts are printf's, whatever way they are made: compared over random bit patterns and over the values
// at which a shortcut would go wrong.
#include "documents/documentText.h"
#include "serviceNames.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int shards = 4; // tests that ctest runs side by side
#ifdef MPEGFE_EMULATED
constexpr int patternsOfAShard = 50'000;
constexpr int halves = 40'000;
#else
constexpr int patternsOfAShard = 100'000;
constexpr int halves = 200'000;
#endif

// The text of one rate, and the text that printf gives.
class RateTexts {
  public:
    RateTexts() : buffer(documentCapacity) {}

    template <typename Append>
    std::string_view written(Append appendTo, float rate) {
        DocumentText text = startText(*reinterpret_cast<DocumentBuffer*>(buffer.data()));
        appendTo(text, rate);
        return {buffer.data(), finishText(text)};
    }

    std::string_view printed(const char* format, double number) {
        const int length = std::snprintf(expected, sizeof expected, format, number);
        return {expected, static_cast<std::size_t>(length)};
    }

  private:
    std::vector<char> buffer;
    char expected[128];
};

// Whether all three texts of this value are printf's; the first that is not is reported.
bool equalsPrintf(RateTexts& texts, float value) {
    const double number = static_cast<double>(value);
    const std::string_view scaled = value > 1000000.0F ? texts.printed("%8.3fMbps", number / 1000000)
                                                       : texts.printed("%8.3fKbps", number / 1000);
    if (const auto written = texts.written(appendRate, value); written != scaled) {
        ADD_FAILURE() << std::hexfloat << value << ": " << written << " instead of " << scaled;
        return false;
    }
    const std::string_view kilobits = texts.printed("%8.3fKbps", number / 1000.0);
    if (const auto written = texts.written(appendRateKbps, value); written != kilobits) {
        ADD_FAILURE() << std::hexfloat << value << ": " << written << " instead of " << kilobits;
        return false;
    }
    const std::string_view pictures = texts.printed("%6.2f", number);
    if (const auto written = texts.written(appendPictureRate, value); written != pictures) {
        ADD_FAILURE() << std::hexfloat << value << ": " << written << " instead of " << pictures;
        return false;
    }
    return true;
}

bool withBothSigns(RateTexts& texts, float value) {
    return equalsPrintf(texts, value) && equalsPrintf(texts, -value);
}

} // namespace

class RateText : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Shards, RateText, testing::Range(0, shards),
                         [](const auto& row) { return "Shard" + std::to_string(row.param); });

TEST_P(RateText, EqualsPrintfForRandomBitPatterns) {
    std::mt19937 random(20240229U + static_cast<unsigned>(GetParam()));
    RateTexts texts;
    for (int i = 0; i < patternsOfAShard; ++i) {
        if (!equalsPrintf(texts, std::bit_cast<float>(static_cast<std::uint32_t>(random())))) {
            return;
        }
    }
}

TEST_P(RateText, EqualsPrintfForRatesOfRealStreams) {
    std::mt19937 random(19940613U + static_cast<unsigned>(GetParam()));
    std::uniform_real_distribution<float> exponent(0.0F, 9.0F);
    RateTexts texts;
    for (int i = 0; i < patternsOfAShard / 10; ++i) {
        if (!equalsPrintf(texts, std::pow(10.0F, exponent(random)))) {
            return;
        }
    }
}

TEST(RateTextOfSpecialValues, EqualsPrintfForNoNumbersAndInfinities) {
    RateTexts texts;
    for (const std::uint32_t bits : {0x7FC00000U, 0xFFC00000U, 0x7F800001U, 0xFF800001U, 0x7FFFFFFFU,
                                     0xFFFFFFFFU, 0x7F800000U, 0xFF800000U}) {
        EXPECT_TRUE(equalsPrintf(texts, std::bit_cast<float>(bits)));
    }
}

TEST(RateTextOfSpecialValues, EqualsPrintfForZerosDenormalsAndExtremes) {
    RateTexts texts;
    using Limits = std::numeric_limits<float>;
    for (const float value :
         {0.0F, Limits::denorm_min(), 100 * Limits::denorm_min(), std::nextafter(Limits::min(), 0.0F),
          Limits::min(), Limits::epsilon(), Limits::max()}) {
        EXPECT_TRUE(withBothSigns(texts, value));
    }
}

TEST(RateTextOfSpecialValues, EqualsPrintfAroundEveryPowerOfTenAndOfTwo) {
    RateTexts texts;
    std::vector<float> centres;
    for (int power = -45; power <= 38; ++power) {
        centres.push_back(static_cast<float>(std::pow(10.0, power)));
        centres.push_back(static_cast<float>(5 * std::pow(10.0, power)));
    }
    for (int power = -149; power <= 127; ++power) {
        centres.push_back(std::ldexp(1.0F, power));
    }
    for (const float centre : centres) {
        float below = centre;
        float above = centre;
        for (int step = 0; step < 16; ++step) {
            ASSERT_TRUE(withBothSigns(texts, below));
            ASSERT_TRUE(withBothSigns(texts, above));
            below = std::nextafter(below, 0.0F);
            above = std::nextafter(above, std::numeric_limits<float>::infinity());
        }
    }
}

TEST(RateTextOfSpecialValues, EqualsPrintfForHalvesOfTheLastDigit) {
    RateTexts texts;
    for (int i = 0; i < halves; ++i) {
        const auto count = static_cast<float>(i);
        ASSERT_TRUE(withBothSigns(texts, count * 0.5F));              // half of 0.001 Kbps
        ASSERT_TRUE(withBothSigns(texts, count * 0.125F));            // half of 0.01, eighths
        ASSERT_TRUE(withBothSigns(texts, 1000000.0F + count * 0.5F)); // around the change to Mbps
        ASSERT_TRUE(withBothSigns(texts, count * 500.0F));            // half of 0.001 Mbps
    }
}

TEST(RateTextOfSpecialValues, ChangesToMegabitsBehindExactlyOneMegabit) {
    RateTexts texts;
    EXPECT_EQ(texts.written(appendRate, 1000000.0F), "1000.000Kbps");
    EXPECT_EQ(texts.written(appendRate, std::nextafter(1000000.0F, 2000000.0F)), "   1.000Mbps");
    EXPECT_EQ(texts.written(appendRate, -2000000.0F), "-2000.000Kbps");
}
