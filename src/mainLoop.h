// The service's one loop.
#pragma once

namespace mpegfe {

// Opens the channels with Trufios, then serves its requests for ever: receive, acknowledge, parse, dispatch.
[[noreturn]] void runMainLoop();

} // namespace mpegfe
