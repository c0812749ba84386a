// The one place where a document leaves the service.
#pragma once

#include "mpegSession.h"

namespace mpegfe {

// Builds the document that the session's request asks for from the newest records, sends it to Trufios and
// waits for the acknowledgement, about 5 s at most; whatever the answer, the session goes on. A document that
// is not acknowledged in time is given up. Prints the request code, and a line instead of sending when there
// is nothing to show, the request has no document, or the program index is outside the stream.
void sendJsonToGUI(const MpegSession* session);

} // namespace mpegfe
