// What a program under test has written to a pipe or terminal.
#pragma once

#include <string>

namespace testSupport {

// Reads until the text has this, until the other side ends, or until nothing comes in time.
std::string readUntil(int descriptor, const std::string& wanted);

// The same without a text that ends it.
std::string readToEnd(int descriptor);

} // namespace testSupport
