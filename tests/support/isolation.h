// Keeps tests that bind the service's fixed endpoints away from each other and from a running service.
#pragma once

namespace testSupport {

// How this process is kept apart.
enum class Isolation {
    namespaces, // network and /run/shm of its own: any number of test processes side by side
    lock,       // the machine allows no namespaces: one such test process at a time
};

// Enters user, network and mount namespaces of this process's own, with the loopback interface up and an
// empty directory for the endpoints; root does without the user namespace where there cannot be one. Where
// the machine does not allow that, says so on standard error, waits for the lock that all such test processes
// take, and makes the directory. Either holds until the process ends and is inherited by the processes it
// starts. Call it before the first thread starts; further calls return the first answer. Ends the process
// with a message when neither way works.
Isolation enterIsolation();

// The same with all users of the machine instead of this one's alone, so that root can act as several of
// them. False where this process may not do that, and where it is isolated already.
bool enterIsolationWithUsers();

} // namespace testSupport
