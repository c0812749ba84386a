#include "../support/peers.h"
#include "../support/testedService.h"
#include "boardProcess.h"
#include "replay/recording.h"

#include <array>
#include <unistd.h>

namespace {

using namespace boardProcess;

const std::string recordedTables = MPEGFE_SAMPLES "/all-tables.recording";

// The real service and the media manager that its clients come through.
class Station {
  public:
    // The document that a request brings; says so when none comes in time.
    std::string document(const std::string& request) {
        trufios.sendRequest({request});
        if (!await([this] { return !trufios.documents.empty(); })) {
            return "no document\n";
        }
        const std::string text = trufios.documents.front() + "\n";
        trufios.documents.pop_front();
        trufios.answerDocument(R"({"reply":"ack"})");
        return text;
    }

    // Ends what a request began. Returns whether the service left the board in time.
    bool stop(const std::string& request) {
        console.clear();
        trufios.sendRequest({request});
        return await([this] { return console.find("Stop MPEG, Wait for new Command") != std::string::npos; });
    }

  private:
    template <class Condition>
    bool await(const Condition& holds) {
        std::array<zmq::pollitem_t, 3> items{{{trufios.requestSocket, 0, ZMQ_POLLIN, 0},
                                              {trufios.documentSocket, 0, ZMQ_POLLIN, 0},
                                              {nullptr, service.outputDescriptor(), ZMQ_POLLIN, 0}}};
        while (!holds()) {
            if (zmq::poll(items.data(), items.size(), patience) <= 0 || !readConsole()) {
                return false;
            }
            trufios.hear();
        }
        return true;
    }

    // False once the service has ended.
    bool readConsole() {
        std::array<char, 4096> piece{};
        ssize_t count = 0;
        while ((count = ::read(service.outputDescriptor(), piece.data(), piece.size())) > 0) {
            console.append(piece.data(), static_cast<std::size_t>(count));
        }
        return count < 0;
    }

    zmq::context_t context;
    testSupport::Trufios trufios{context};
    testSupport::ChildProcess service{testSupport::serviceCommand(MPEGFE_PROGRAM), {}};
    std::string console; // of the service, since its last stop
};

// A whole chain: the board on a stream or a recording of it, the real service, and a media manager.
class WholeChain : public BoardProcess {
  protected:
    // The document that a request brings from a board started with these arguments.
    std::string document(const std::vector<std::string>& boardArguments, const std::string& request) {
        start(boardArguments);
        return Station().document(request);
    }

    // Waits until a replay without pauses is at its beginning again, where it waits for a client: it takes at
    // most one instruction between two messages, and one before the next pass.
    static void awaitEndOfPass(const std::string& recording) {
        Client nobody;
        EXPECT_EQ(nobody.instruct(0), 0);
        board::RecordingReader reader(recording);
        while (reader.next()) {
            EXPECT_EQ(nobody.instruct(0), 0);
        }
        EXPECT_EQ(nobody.instruct(0), 0);
    }
};

struct ChainRequest {
    const char* name;
    const char* text;
};

class EveryDocument : public WholeChain, public testing::WithParamInterface<ChainRequest> {};

TEST_P(EveryDocument, ComesFromTheStreamWithAllTables) {
    const std::string made = document({"--deterministic", sampleWithAllTables}, GetParam().text);
    EXPECT_EQ(made, golden(std::string(GetParam().name) + ".document", made));
}

TEST_P(EveryDocument, ComesFromItsRecordingAsWell) {
    const std::string made = document({"--deterministic", "--replay", recordedTables}, GetParam().text);
    EXPECT_EQ(made, golden(std::string(GetParam().name) + ".document", made));
}

INSTANTIATE_TEST_SUITE_P(
    , EveryDocument,
    testing::Values(ChainRequest{"pidData", R"({"dataStream":"pidData","status":"on"})"},
                    ChainRequest{"pgmData", R"({"dataStream":"pgmData","status":"on"})"},
                    ChainRequest{"pgmDetail", R"({"dataStream":"pgmDetail","status":"on","patIndex":"2"})"},
                    ChainRequest{"PAT", R"({"dataStream":"PAT","status":"on"})"},
                    ChainRequest{"CAT", R"({"dataStream":"CAT","status":"on"})"},
                    ChainRequest{"NIT", R"({"dataStream":"NIT","status":"on"})"},
                    ChainRequest{"SDT", R"({"dataStream":"SDT","status":"on"})"},
                    ChainRequest{"EIT", R"({"dataStream":"EIT","status":"on"})"},
                    ChainRequest{"TDT", R"({"dataStream":"TDT","status":"on"})"}),
    [](const auto& request) { return std::string(request.param.name); });

struct Exchange {
    const char* on;
    const char* off;
};

// A program's details have no "off" of their own; any other's ends them.
constexpr std::array<Exchange, 9> session{{
    {R"({"dataStream":"pidData","status":"on"})", R"({"dataStream":"pidData","status":"off"})"},
    {R"({"dataStream":"pgmData","status":"on"})", R"({"dataStream":"pgmData","status":"off"})"},
    {R"({"dataStream":"pgmDetail","patIndex":"1"})", R"({"dataStream":"pgmData","status":"off"})"},
    {R"({"dataStream":"PAT","status":"on"})", R"({"dataStream":"PAT","status":"off"})"},
    {R"({"dataStream":"CAT","status":"on"})", R"({"dataStream":"CAT","status":"off"})"},
    {R"({"dataStream":"NIT","status":"on"})", R"({"dataStream":"NIT","status":"off"})"},
    {R"({"dataStream":"SDT","status":"on"})", R"({"dataStream":"SDT","status":"off"})"},
    {R"({"dataStream":"EIT","status":"on"})", R"({"dataStream":"EIT","status":"off"})"},
    {R"({"dataStream":"TDT","status":"on"})", R"({"dataStream":"TDT","status":"off"})"},
}};

// Each request meets the beginning of the recording, so that the documents are the same each time.
TEST_F(WholeChain, ServesAWholeSessionFromOneReplay) {
    start({"--deterministic", "--fast", "--replay", recordedTables});
    Station station;
    std::string documents;
    for (const Exchange& exchange : session) {
        documents += station.document(exchange.on);
        ASSERT_TRUE(station.stop(exchange.off)) << exchange.off;
        awaitEndOfPass(recordedTables);
    }
    EXPECT_EQ(documents, golden("session.documents", documents));
}

} // namespace
