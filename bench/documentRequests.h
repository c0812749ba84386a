// The requests that are measured, each with the document that it ends in.
#pragma once

#include "exchange.h"
#include "workloads.h"

#include <chrono>
#include <string>
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

struct ExchangeTimes {
    std::chrono::duration<double> toDocument; // from the request's send to the document's arrival
    // From the document's acknowledgement until the next request is acknowledged: the reply wait and what
    // follows it.
    std::chrono::duration<double> replyWait;
};

// Requests the document, publishes its records, and acknowledges the document. Leaves the feed open. Throws
// std::runtime_error when a document has another length than before.
ExchangeTimes startDocument(testSupport::Exchange& exchange, const DocumentRequest& request);

// The same, and stops the feed again.
ExchangeTimes runDocument(testSupport::Exchange& exchange, const DocumentRequest& request);

// Makes the programs known to the program if the request is to find them so, and runs the request once.
void prepare(testSupport::Exchange& exchange, const DocumentRequest& request);

// Asks the service for each document once, because the bare program must be told how long they are.
void learnDocumentLengths(const std::string& service);
