#include "recordStreams.h"

#include "serviceNames.h"

namespace {

// Messages and bytes that may pile up on the way, at each of the two ends.
constexpr int messagesOnTheWay = 50;
constexpr int bytesOnTheWay = 128 * 1024;

// More than all that can pile up.
constexpr int rotationsToSettle = 20;

} // namespace

Rotation::Rotation(bool changing) : changes(changing), first(allPublishedNow()), second(first) {
    for (PublishedRecord& record : second) {
        record.bytes.back() = static_cast<char>(record.bytes.back() ^ 1);
    }
}

void Rotation::publishAll(zmq::socket_t& publisher) {
    for (const PublishedRecord& record : changes&& turn++ % 2 == 1 ? second : first) {
        if (publisher.send(zmq::buffer(std::string_view(record.topic->name)), zmq::send_flags::sndmore)) {
            publisher.send(zmq::str_buffer("1"), zmq::send_flags::sndmore);
            publisher.send(zmq::buffer(record.bytes), zmq::send_flags::none);
        }
    }
}

WireStream::WireStream(bool changing) : rotation(changing) {
    for (zmq::socket_t* end : {&publisher, &receiving}) {
        end->set(zmq::sockopt::linger, 0);
        end->set(zmq::sockopt::sndhwm, messagesOnTheWay);
        end->set(zmq::sockopt::rcvhwm, messagesOnTheWay);
        end->set(zmq::sockopt::sndbuf, bytesOnTheWay);
        end->set(zmq::sockopt::rcvbuf, bytesOnTheWay);
    }
    publisher.set(zmq::sockopt::xpub_nodrop, true);
    publisher.set(zmq::sockopt::sndtimeo, 100); // so that the thread sees the end
    publisher.bind("tcp://127.0.0.1:*");
    receiving.set(zmq::sockopt::subscribe, "");
    receiving.connect(publisher.get(zmq::sockopt::last_endpoint));
    thread = std::jthread([this](const std::stop_token& stopping) {
        while (!stopping.stop_requested()) {
            rotation.publishAll(publisher);
        }
    });
}

void WireStream::prepareTurn() {
    zmq::message_t part;
    for (std::size_t parts = 3 * rotationsToSettle * topics.size(); parts > 0; --parts) {
        static_cast<void>(receiving.recv(part));
    }
}

QueuedStream::QueuedStream(bool changing) : rotation(changing) {
    publisher.set(zmq::sockopt::linger, 0);
    publisher.set(zmq::sockopt::sndhwm, 0);
    receiving.set(zmq::sockopt::rcvhwm, 0);
    receiving.set(zmq::sockopt::subscribe, "");
    publisher.bind("inproc://records");
    receiving.connect("inproc://records");
}

void QueuedStream::prepareTurn() {
    for (int k = 0; k < rotationsOfATurn; ++k) {
        rotation.publishAll(publisher);
    }
}
