// The rates of the last minutes, side by side.
#pragma once

#include "picture/picture.h"

#include <chrono>
#include <string>

namespace manager {

// The samples of the last seconds as JSON: "times" are those of the stream's rate, "total"; of each PID and
// each service it has what was sampled at these times or up to the next, and null where nothing was.
std::string rateTable(const Picture& picture, std::chrono::seconds span, PictureTime now);

} // namespace manager
