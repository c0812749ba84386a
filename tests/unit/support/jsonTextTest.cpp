#include "support/jsonText.h"
#include "serviceNames.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// The text under "key" of this JSON text, or "(none)".
std::string textIn(const char* json) {
    json_error_t error;
    json_t* object = parseJson(json, error);
    const char* text = textOf(object, "key");
    std::string copy = text == nullptr ? "(none)" : text;
    json_decref(object);
    return copy;
}

} // namespace

TEST(JsonText, TextsAreFoundByTheirKey) {
    EXPECT_EQ(textIn(R"({"other": "x", "key": "value"})"), "value");
    EXPECT_EQ(textIn(R"({"key": ""})"), "");
}

TEST(JsonText, WhatIsNoTextUnderTheKeyIsNone) {
    EXPECT_EQ(textIn(R"({"key": 7})"), "(none)");
    EXPECT_EQ(textIn(R"({"key": null})"), "(none)");
    EXPECT_EQ(textIn(R"({"other": "x"})"), "(none)");
    EXPECT_EQ(textIn(R"(["key", "value"])"), "(none)");
    EXPECT_EQ(textIn("no JSON"), "(none)");
}

TEST(JsonText, WhatFollowsTheFirstValueIsIgnored) {
    EXPECT_EQ(textIn(R"({"key": "value"} xyz)"), "value");
}

TEST(JsonText, ErrorsSayWhatIsWrongAndWhere) {
    json_error_t error;
    EXPECT_EQ(parseJson("xyz", error), nullptr);
    EXPECT_STREQ(error.text, "'[' or '{' expected near 'xyz'");
    EXPECT_STREQ(error.source, "<string>");
    EXPECT_EQ(error.position, 3);
}
