// Standard input, output and error, which whoever starts a program may have closed.
#pragma once

namespace companions {

// Opens /dev/null in place of those of the three standard descriptors that are closed, so that nothing else
// is opened under their numbers and is read or written to in their place. To be called first of all.
void openStandardDescriptors();

} // namespace companions
