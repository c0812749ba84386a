#include "testedService.h"

#include <cstdlib>
#include <iterator>
#include <sstream>

namespace testSupport {

std::vector<std::string> serviceCommand(const std::string& built) {
    const char* named = std::getenv("MPEGFE_SERVICE");
    if (named == nullptr) {
        return {built};
    }
    std::istringstream words(named);
    return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

bool serviceIsNamed() {
    return std::getenv("MPEGFE_SERVICE") != nullptr;
}

std::string serviceRecorder(const std::string& built) {
    const char* named = std::getenv("MPEGFE_SERVICE_RECORDER");
    return named == nullptr ? built : named;
}

std::string withoutEmulatorsWord(const std::string& errors) {
    const std::size_t line = errors.find("qemu: uncaught target signal ");
    return line == std::string::npos || errors.find('\n', line) + 1 != errors.size() ? errors
                                                                                     : errors.substr(0, line);
}

} // namespace testSupport
