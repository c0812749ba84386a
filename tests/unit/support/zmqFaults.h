// The calls that the service makes of libzmq, seen, scripted and broken on demand. The test executable is
// linked so that every libzmq call of the service passes through here; scripted peers call libzmq by the
// names below, which do not.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>
#include <zmq.h>

extern "C" {
void* __real_zmq_ctx_new();
int __real_zmq_ctx_destroy(void* context);
void* __real_zmq_socket(void* context, int type);
int __real_zmq_close(void* socket);
int __real_zmq_connect(void* socket, const char* endpoint);
int __real_zmq_setsockopt(void* socket, int option, const void* value, std::size_t size);
int __real_zmq_getsockopt(void* socket, int option, void* value, std::size_t* size);
int __real_zmq_send(void* socket, const void* bytes, std::size_t size, int flags);
int __real_zmq_recv(void* socket, void* bytes, std::size_t size, int flags);
int __real_zmq_poll(zmq_pollitem_t* items, int count, long timeout);
int __real_zmq_socket_monitor(void* socket, const char* endpoint, int events);
int __real_usleep(useconds_t microseconds);
}

namespace zmqFaults {

// A monitor is what tells of a socket's connection; its reading end is a socket of its own.
enum class Call {
    contextNew,
    socketNew,
    connect,
    option,
    receive,
    contextEnd,
    monitor,
    monitorSocketNew,
    monitorConnect,
    monitorReceive
};

// Makes the nth call from now on (1: the next one) fail with this error number without reaching libzmq.
// Several failures of one call may be asked for.
void failCall(Call call, int nth, int errorNumber);

// Makes the nth query of ZMQ_RCVMORE about published parts from now on fail after it has written this value.
void failMoreQuery(int nth, int written);

// What happens around a call. An empty function means that nothing does.
struct Hooks {
    std::function<void(void* socket)> beforeMessage; // a SUB socket is asked for the first part of a message
    std::function<void(void* socket, bool subscribe, const std::string& topic)> afterSubscription;
    std::function<void(void* socket, const std::string& endpoint, const std::string& bytes)> afterSend;
    std::function<void(void* socket)> beforeClose;
    std::function<void()> insideSend; // libzmq has looked what there is to know, and sends now
    std::function<int(zmq_pollitem_t* items, int count, long timeout)> insteadOfPoll;
    std::function<void(useconds_t microseconds)> insteadOfSleep;
};
extern Hooks hooks;

// A socket option other than a subscription that the service set.
struct OptionSet {
    int option;
    int value;
    bool connected; // the socket had been connected before
    bool operator==(const OptionSet&) const = default;
};

// What the service has done since the last forgetEverything.
int openSockets();
int openContexts();
int openMonitors();                            // reading ends
std::vector<int> lingersAtClose();             // ZMQ_LINGER of each socket that was closed
std::vector<OptionSet> optionsSet();           // ZMQ_LINGER left out
std::vector<std::string> endpointsConnected(); // in the order of the connections
std::size_t callsOf(Call call);

// Closes what the service left open, and drops failures, hooks and everything seen.
void forgetEverything();

} // namespace zmqFaults
