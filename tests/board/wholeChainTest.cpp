#include "../support/peers.h"
#include "boardProcess.h"

#include <array>
#include <unistd.h>

namespace {

using namespace boardProcess;

// A whole chain: the board on a stream or a recording of it, the real service, and a media manager.
class WholeChain : public BoardProcess {
  protected:
    // The document that a request brings from a board started with these arguments.
    std::string document(const std::vector<std::string>& boardArguments, const std::string& request) {
        zmq::context_t context;
        testSupport::Trufios trufios(context);
        start(boardArguments);
        testSupport::ChildProcess service({MPEGFE_PROGRAM}, {});
        trufios.sendRequest({request});
        std::array<zmq::pollitem_t, 3> items{{{trufios.requestSocket, 0, ZMQ_POLLIN, 0},
                                              {trufios.documentSocket, 0, ZMQ_POLLIN, 0},
                                              {nullptr, service.outputDescriptor(), ZMQ_POLLIN, 0}}};
        while (trufios.documents.empty() && zmq::poll(items.data(), items.size(), patience) > 0) {
            trufios.hear();
            std::array<char, 4096> unread{};
            while (::read(service.outputDescriptor(), unread.data(), unread.size()) > 0) {
            }
        }
        return trufios.documents.empty() ? "no document" : trufios.documents.front() + "\n";
    }
};

struct ChainRequest {
    const char* name;
    const char* text;
};

class EveryDocument : public WholeChain, public testing::WithParamInterface<ChainRequest> {};

TEST_P(EveryDocument, ComesFromTheStreamWithAllTables) {
    const std::string made = document({"--deterministic", MPEGFE_SAMPLES "/all-tables.ts"}, GetParam().text);
    EXPECT_EQ(made, golden(std::string(GetParam().name) + ".document", made));
}

TEST_P(EveryDocument, ComesFromItsRecordingAsWell) {
    const std::string made =
        document({"--deterministic", "--replay", MPEGFE_SAMPLES "/all-tables.recording"}, GetParam().text);
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

} // namespace
