// The console's short names of topics.
#pragma once

#include "wire/topics.h"

namespace mpegfe {

// Prints the short name of each topic in the mask, each followed by a space, then a newline. Returns what the
// print of the newline returned.
int printTopicNames(wire::TopicBits mask);

} // namespace mpegfe
