// The real board as a child process, and a client of its sockets.
#pragma once

#include "../support/childProcess.h"
#include "../support/isolation.h"
#include "../support/patience.h"

#include "wire/topics.h"

#include <gtest/gtest.h>
#include <zmq.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace boardProcess {

using Message = std::vector<std::string>;

inline const std::string sample = MPEGFE_SAMPLES "/three-programs.ts";
inline const std::string sampleWithAllTables = MPEGFE_SAMPLES "/all-tables.ts";
using testSupport::patience;

// The golden text of this name. MPEGFE_WRITE_GOLDEN in the environment writes what is made instead.
std::string golden(const std::string& name, const std::string& made);

class BoardProcess : public testing::Test {
  protected:
    BoardProcess();
    ~BoardProcess() override;

    void start(const std::vector<std::string>& arguments);

    // Reads the board's console until it holds this text. Returns whether it came in time.
    bool awaitConsole(const std::string& text);

    // Reads some of the console. Returns whether there was any in time.
    bool readConsole();

    // Everything that the board says until it ends, and how it ends.
    std::string end();

    // Everything that the board writes to its standard output.
    std::string output();

    std::string stop(int signal = SIGTERM);

    std::string outcome(const std::vector<std::string>& arguments);

    std::string file; // a path that the test may use; removed afterwards
    std::optional<testSupport::ChildProcess> board;
    std::string console;
};

// A client: the subscriber and the instructor of the service.
class Client {
  public:
    Client();

    void subscribe(wire::TopicBits bits);

    // Sends an instruction word and returns the reply's; -1 for none.
    int instruct(wire::TopicBits word);

    // The parts of the next message; "nothing" when none comes in time.
    Message next();

    // The topics of the next messages, without the part of their names that all share.
    std::string nextTopics(int count);

    // The next PAT record; all zero when none comes in time.
    wire::PatRecord nextPat();

  private:
    zmq::context_t context;
    zmq::socket_t subscriber{context, ZMQ_SUB};
    zmq::socket_t instructor{context, ZMQ_REQ};
};

} // namespace boardProcess
