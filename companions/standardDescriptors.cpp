#include "companions/standardDescriptors.h"

#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace companions {

void openStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) < 0) {
            static_cast<void>(::open("/dev/null", O_RDWR)); // under the lowest number that is free: this one
        }
    }
}

} // namespace companions
