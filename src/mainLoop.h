// The service's one loop.
#pragma once

// Opens the channels with Trufios, then serves its requests for ever: receive, acknowledge, parse, dispatch.
[[noreturn]] void runMainLoop();
