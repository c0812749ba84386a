// Tests and benches name the service's things, and those on the wire, as the service does.
#pragma once

namespace mpegfe {}
namespace wire {}

using namespace mpegfe;
using namespace wire;
