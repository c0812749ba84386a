// libzmq gives each of its threads the scheduling that the thread has already, and ends the process when it
// may not. Here such a change is none, so that the service's unit can refuse every call that changes
// scheduling.
#include <cerrno>
#include <pthread.h>
#include <sched.h>

// Takes the place of the C library's function of this name, for libzmq too. Returns 0 when the thread's
// scheduling is the one asked for, and ENOTSUP when it is another, as nothing here asks for that.
extern "C" int pthread_setschedparam(pthread_t thread, int policy, const sched_param* param) noexcept {
    int present = 0;
    sched_param presentParam{};
    const int failure = pthread_getschedparam(thread, &present, &presentParam);
    if (failure != 0) {
        return failure;
    }
    const bool isThere = policy == present && param->sched_priority == presentParam.sched_priority;
    return isThere ? 0 : ENOTSUP;
}
