// Broken preconditions, which end the process.
#pragma once

namespace mpegfe {

// Ends the process with the C library's assertion report on standard error,
// "program: file:line: function: Assertion `expression' failed.", unless holds is true. It works in release
// builds too. File and line are parameters because the reports are part of what operators know the service
// by, and do not follow our source files.
void requireThat(bool holds, const char* expression, const char* file, unsigned line, const char* function);

} // namespace mpegfe
