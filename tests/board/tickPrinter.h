// Shows durations as ticks of the 27 MHz clock in what a failed test says. Their namespace is the standard
// library's, where no printer can be added.
#pragma once

#include "tunables.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ostream>

template <class Rep, class Period>
class testing::internal::UniversalPrinter<std::chrono::duration<Rep, Period>> {
  public:
    static void Print(const std::chrono::duration<Rep, Period>& time, std::ostream* out) {
        *out << std::chrono::duration_cast<board::Ticks>(time).count() << " ticks";
    }
};
