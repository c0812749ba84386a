#include "libraries.h"

#include <gst/gst.h>

#include <cstdlib>

namespace board {

void initialiseLibraries(bool withPlugins) {
    if (!withPlugins) {
        ::setenv("GST_REGISTRY_UPDATE", "no", 0);
    }
    gst_init(nullptr, nullptr);
}

} // namespace board
