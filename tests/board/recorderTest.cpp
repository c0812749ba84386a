// The real board recording another, and replaying the recording.
#include "boardProcess.h"
#include "recording.h"

namespace {

using namespace boardProcess;

TEST_F(BoardProcess, ReplaysWhatItRecorded) {
    {
        testSupport::ChildProcess source({MPEGFE_BOARD, sample}, {});
        EXPECT_NE(outcome({"--record", file, "--instruct", "--duration", "1500"}).find("exit code 0"),
                  std::string::npos)
            << console;
    }
    start({"--replay", file, "--deterministic", "--once"});
    Client client;
    client.subscribe(allTopicBits);
    client.instruct(allTopicBits);
    board::RecordingReader recording(file);
    int count = 0;
    while (const auto recorded = recording.next()) {
        const Message message = client.next();
        ASSERT_EQ(message.size(), 3U);
        EXPECT_EQ(message[0], recorded->topic);
        EXPECT_EQ(message[2], std::string(recorded->record.begin(), recorded->record.end()));
        ++count;
    }
    EXPECT_GE(count, 9 * 5);
    EXPECT_NE(end().find("exit code 0"), std::string::npos);
}

} // namespace
