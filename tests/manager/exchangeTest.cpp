// The exchange with a service at the other end of two sockets, stepped by times that the test makes up.
#include "exchange/exchange.h"
#include "scriptedService.h"
#include "support/patience.h"
#include "tunables.h"

#include <csignal>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/time.h>
#include <utility>
#include <vector>
#include <zmq.hpp>

namespace {

using namespace std::chrono_literals;
using manager::ConnectedServices;
using manager::Exchange;
using manager::makeRequest;
using manager::ServiceState;
using manager::Time;
using testSupport::ack;
using testSupport::patience;

constexpr const char* patDocument = R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{}})";
constexpr const char* catDocument = R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{}})";

class ExchangeTest : public testing::Test {
  protected:
    ExchangeTest() {
        for (zmq::socket_t* socket : {&requests, &documents, &serviceRequests, &serviceDocuments}) {
            socket->set(zmq::sockopt::linger, 0);
            socket->set(zmq::sockopt::rcvtimeo, patience.count());
        }
        requests.bind("tcp://127.0.0.1:*");
        documents.bind("tcp://127.0.0.1:*");
    }

    void connectService() {
        serviceRequests.connect(requests.get(zmq::sockopt::last_endpoint));
        serviceDocuments.connect(documents.get(zmq::sockopt::last_endpoint));
        stepUntil([&] { return state() != ServiceState::absent; });
    }

    // Steps whenever something is ready, all at the test's time.
    template <typename Done>
    void stepUntil(Done done) {
        while (!done()) {
            auto items = exchange.pollItems();
            ASSERT_GT(zmq::poll(items, patience), 0) << "nothing happens";
            exchange.step(now);
        }
    }

    std::string takeRequest() {
        stepUntil([&] { return exchange.sent(); });
        return receive(serviceRequests);
    }
    void acknowledge() {
        const std::size_t before = told.size();
        serviceRequests.send(zmq::buffer(std::string(ack)));
        stepUntil([&] { return told.size() > before; });
    }
    void sendDocument(const std::string& text) {
        const std::size_t before = told.size();
        serviceDocuments.send(zmq::buffer(text));
        stepUntil([&] { return told.size() > before; });
        EXPECT_EQ(receive(serviceDocuments), ack);
    }

    static std::string receive(zmq::socket_t& socket) {
        zmq::message_t message;
        return socket.recv(message) ? message.to_string() : "nothing in time";
    }

    ServiceState state() const {
        return exchange.condition(now).state;
    }

    zmq::context_t context;
    zmq::socket_t requests{context, zmq::socket_type::req};
    zmq::socket_t documents{context, zmq::socket_type::rep};
    zmq::socket_t serviceRequests{context, zmq::socket_type::rep};
    zmq::socket_t serviceDocuments{context, zmq::socket_type::req};
    ConnectedServices services{context, requests};
    Time now{1h};
    std::vector<std::string> told;
    Exchange exchange{
        requests,
        documents,
        services,
        {.replied = [&](std::string_view) { told.emplace_back("reply"); },
         .refused = [&](std::string_view) { told.emplace_back("refused"); },
         .answered = [&](const manager::Request& request,
                         std::string_view) { told.push_back("answer to " + request.dataStream); },
         .strayed = [&](std::string_view) { told.emplace_back("stray"); },
         .shared = [&] { told.emplace_back("shared"); }},
        now};
};

TEST_F(ExchangeTest, tellsWhatTheServiceDoes) {
    EXPECT_EQ(state(), ServiceState::absent);
    connectService();
    EXPECT_EQ(state(), ServiceState::answering);
    ASSERT_TRUE(exchange.take({makeRequest("PAT", "on")}));
    now += 1s;
    takeRequest();
    now += 1h;
    EXPECT_EQ(state(), ServiceState::unanswered);
    EXPECT_EQ(exchange.condition(now).since, now - 1h);
    acknowledge();
    EXPECT_EQ(state(), ServiceState::waiting);
    now += manager::tunables::recordsWait;
    EXPECT_EQ(state(), ServiceState::noStream);
    sendDocument(patDocument);
    EXPECT_EQ(state(), ServiceState::answering);
    EXPECT_TRUE(exchange.idle());
    EXPECT_EQ(told, (std::vector<std::string>{"reply", "answer to PAT"}));
}

// A socket can still be written to when the service behind it has gone.
TEST_F(ExchangeTest, sendsNothingWhileItKnowsOfNoService) {
    ASSERT_TRUE(exchange.take({makeRequest("PAT", "on")}));
    serviceRequests.connect(requests.get(zmq::sockopt::last_endpoint));
    zmq::pollitem_t writable{requests.handle(), 0, ZMQ_POLLOUT, 0};
    ASSERT_EQ(zmq::poll(&writable, 1, patience), 1);
    exchange.step(now); // knows of it from now on
    EXPECT_FALSE(exchange.sent());
    EXPECT_EQ(takeRequest(), R"({"dataStream": "PAT", "status": "on"})");
}

TEST_F(ExchangeTest, sendsTheNextRequestWhenTheLastIsAnswered) {
    connectService();
    exchange.take({makeRequest("PAT", "on")});
    exchange.take({makeRequest("CAT", "on")});
    EXPECT_EQ(takeRequest(), R"({"dataStream": "PAT", "status": "on"})");
    acknowledge();
    sendDocument(catDocument);
    EXPECT_FALSE(exchange.idle());
    sendDocument(patDocument);
    EXPECT_EQ(takeRequest(), R"({"dataStream": "CAT", "status": "on"})");
    EXPECT_EQ(told, (std::vector<std::string>{"reply", "stray", "answer to PAT"}));
}

// Often enough that some come in the middle of a call that does not wait.
TEST_F(ExchangeTest, isNotHarmedBySignals) {
    connectService();
    struct sigaction counted {};
    struct sigaction before {};
    counted.sa_handler = [](int) {};
    sigaction(SIGALRM, &counted, &before);
    const itimerval often{{0, 100}, {0, 100}}; // microseconds
    setitimer(ITIMER_REAL, &often, nullptr);
    std::string failure;
    try {
        for (int i = 0; i < 100'000; ++i) {
            exchange.step(now);
        }
    } catch (const zmq::error_t& error) {
        failure = error.what();
    }
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(failure, "");
}

TEST_F(ExchangeTest, goesOnBehindAnOrderThatIsGivenUp) {
    connectService();
    exchange.take({makeRequest("PAT", "on")});
    exchange.take({makeRequest("TDT", "off"), 0});
    takeRequest();
    exchange.giveUp(now);
    EXPECT_TRUE(exchange.sent()) << "what is not acknowledged cannot be given up";
    acknowledge();
    exchange.giveUp(now);
    EXPECT_EQ(takeRequest(), R"({"dataStream": "TDT", "status": "off"})");
    acknowledge();
    EXPECT_TRUE(exchange.idle());
}

TEST_F(ExchangeTest, goesOnBehindARefusal) {
    connectService();
    exchange.take({makeRequest("PAT", "on")});
    takeRequest();
    serviceRequests.send(zmq::str_buffer(R"({"reply": "nak"})"));
    stepUntil([&] { return exchange.idle(); });
    EXPECT_EQ(told, (std::vector<std::string>{"reply", "refused"}));
}

TEST_F(ExchangeTest, holdsADocumentForTheAcknowledgementBeforeIt) {
    connectService();
    exchange.take({makeRequest("PAT", "on")});
    takeRequest();
    serviceDocuments.send(zmq::str_buffer("{}"));
    stepUntil([&] { return exchange.wakeUp().has_value(); });
    EXPECT_EQ(exchange.wakeUp(), now + manager::tunables::overtaking);
    EXPECT_TRUE(told.empty());
    now += manager::tunables::overtaking;
    exchange.step(now);
    EXPECT_EQ(told, std::vector<std::string>{"stray"});
    EXPECT_FALSE(exchange.wakeUp());
}

TEST_F(ExchangeTest, takesNoMoreOrdersThanItHasRoomFor) {
    for (std::size_t i = 0; i < manager::tunables::mostOrders; ++i) {
        EXPECT_TRUE(exchange.take({makeRequest("PAT", "on")}));
    }
    EXPECT_FALSE(exchange.take({makeRequest("PAT", "on")}));
}

// Nobody reads the events then, which must stop nothing.
TEST(ConnectedServicesTest, leaveASocketThatOthersGoOnToUse) {
    zmq::context_t context;
    zmq::socket_t requests(context, zmq::socket_type::req);
    std::optional<ConnectedServices> services(std::in_place, context, requests);
    requests.set(zmq::sockopt::linger, 0);
    requests.set(zmq::sockopt::rcvtimeo, patience.count());
    requests.bind("tcp://127.0.0.1:*");
    services.reset();
    zmq::socket_t service(context, zmq::socket_type::rep);
    service.set(zmq::sockopt::rcvtimeo, patience.count());
    service.connect(requests.get(zmq::sockopt::last_endpoint));
    requests.send(zmq::str_buffer("request"), zmq::send_flags::none);
    zmq::message_t message;
    ASSERT_TRUE(service.recv(message));
    service.send(message, zmq::send_flags::none);
    ASSERT_TRUE(requests.recv(message));
    EXPECT_EQ(message.to_string(), "request");
}

} // namespace
