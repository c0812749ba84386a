// Descriptors of a NIT as short readable texts, as the NIT record carries them.
#pragma once

#include <gst/mpegts/mpegts.h>

#include <string>

namespace board {

// The content of a descriptor as text: names as they are, delivery systems as frequency and modulation,
// service lists as "number:type" pairs, and every other descriptor's bytes in hexadecimal.
std::string networkText(const GstMpegtsDescriptor& descriptor);

} // namespace board
