#include "printed.h"

#include <cstdarg>
#include <cstdio>

namespace reference {

std::string printed(const char* format, ...) {
    char scratch[1024];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(scratch, sizeof scratch, format, arguments);
    va_end(arguments);
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof scratch) {
        return {scratch, size};
    }
    std::string text(size + 1, '\0');
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.resize(size);
    return text;
}

} // namespace reference
