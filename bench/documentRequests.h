// The requests that are measured, each with the records that the parser publishes for it.
#pragma once

#include "serviceNames.h"
#include "wire/topics.h"

#include <vector>

struct DocumentRequest {
    const char* name;
    const char* members;       // of the request's JSON object
    std::vector<Topic> topics; // that the service subscribes to, in the order in which they are published
    bool programsKnown;        // whether the service knows the programs' video and audio by then
};

// TS-STATUS is always published last, so that the service goes on with it. The programs' video and audio are
// unknown until a program's detail has been asked for once; then they are part of each PID list.
inline const std::vector<Topic> listTopics{patTopic, sdtTopic, pmtTopic, tsStatusTopic};
inline const DocumentRequest pidListRequest{"PID list", R"("dataStream": "pidData", "status": "on")",
                                            listTopics, true};
inline const DocumentRequest programDetailRequest{"program detail",
                                                  R"("dataStream": "pgmDetail", "patIndex": "1")",
                                                  {patTopic, sdtTopic, pmtTopic, avPgmTopic, tsStatusTopic},
                                                  true};
inline const std::vector<DocumentRequest> documentRequests{
    {"PID list, programs unknown", pidListRequest.members, listTopics, false},
    pidListRequest,
    {"program list", R"("dataStream": "pgmData", "status": "on")", listTopics, true},
    programDetailRequest,
    {"EIT", R"("dataStream": "EIT", "status": "on")", {eitTopic, patTopic, tsStatusTopic}, true},
};
