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

std::string serviceRecorder(const std::string& built) {
    const char* named = std::getenv("MPEGFE_SERVICE_RECORDER");
    return named == nullptr ? built : named;
}

} // namespace testSupport
