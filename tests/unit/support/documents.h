// Documents written into a buffer whose surroundings are watched.
#pragma once

#include "documents/documentText.h"
#include "serviceNames.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

// What a builder, called with a buffer, wrote. Fails the test when the text is not terminated at the length
// that the builder returned, or when a byte outside the buffer was touched.
template <typename Build>
std::string documentOf(Build build) {
    struct Watched {
        char before[64];
        DocumentBuffer text;
        char after[64];
    };
    const auto watched = std::make_unique<Watched>();
    std::memset(static_cast<void*>(watched.get()), '#', sizeof *watched);
    const std::string untouched(sizeof watched->before, '#');
    const std::size_t length = build(watched->text);
    EXPECT_EQ(std::string(watched->before, sizeof watched->before), untouched);
    EXPECT_EQ(std::string(watched->after, sizeof watched->after), untouched);
    EXPECT_LT(length, documentCapacity);
    if (length >= documentCapacity) {
        return "";
    }
    EXPECT_EQ(std::strlen(watched->text), length);
    return {watched->text, length};
}
