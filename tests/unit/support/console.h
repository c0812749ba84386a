// What the service prints.
#pragma once

#include <functional>
#include <string>

// A peer's script has come to its end while the service still waits for it.
struct ScriptEnded {};

// What is printed on standard output while this runs. A script that ends shows as the last line
// "> the peers fall silent".
std::string consoleOf(const std::function<void()>& run);

// For death tests: from here on standard output goes, unbuffered, where standard error goes, so that both are
// seen in their order.
void joinConsoleAndErrors();
