// What the service captures of each topic, and what it says about it on the console: one row a topic.
#pragma once

#include "wire/topics.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace mpegfe {

// What has been captured since a session last cleared it. Reception sets the bits of the records that arrive;
// the session sets the SDT's too when it needs no SDT from the parser, and its own two.
using CaptureBits = std::uint32_t;
inline constexpr CaptureBits patCaptured = 0x01;
inline constexpr CaptureBits sdtCaptured = 0x02;
inline constexpr CaptureBits furtherTopicsSubscribed = 0x04; // session: subscribed after the first document
inline constexpr CaptureBits streamStable = 0x08;            // session: two passes saw the same changes
inline constexpr CaptureBits psiCaptured = 0x10;             // any PSI/SI table
inline constexpr CaptureBits pmtCaptured = 0x20;
inline constexpr CaptureBits avPgmCaptured = 0x40;
inline constexpr CaptureBits tsStatusCaptured = 0x80;

struct ReceivedTopic {
    wire::Topic topic;
    CaptureBits captureBits;
    const char* brokenText; // console line where the socket cannot tell whether parts follow the record
    // Console lines before and after the record is received; null where the topic has none.
    void (*announce)(const char* topic);
    void (*report)(const char* topic, int size, int length);
};

// In the order in which a received topic is compared. The console lines differ on purpose in their wording,
// in the order of size and length and in the comma of the EIT line; AVPGM reports a broken message with
// TS-STATUS's text.
inline constexpr std::array<ReceivedTopic, 9> receivedTopics{{
    {wire::patTopic, patCaptured | psiCaptured, "Error: More than 3 part MPEG PUB PAT",
     [](const char* topic) { std::printf("Published MPEG PAT Received: Topic %s\n", topic); },
     [](const char*, int size, int length) {
         std::printf("Recv PAT TOPIC size %d msgl %d\n", size, length);
     }},
    {wire::sdtTopic, sdtCaptured | psiCaptured, "Error: More than 3 part MPEG PUB SDT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG SDT Received: Topic %s size %d msgl %d\n", topic, size, length);
     }},
    {wire::catTopic, psiCaptured, "Error: More than 3 part MPEG PUB CAT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG CAT Received: Topic %s size %d msgl %d\n", topic, size, length);
     }},
    {wire::nitTopic, psiCaptured, "Error: More than 3 part MPEG PUB NIT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG NIT Received: Topic %s size %d msgl %d\n", topic, size, length);
     }},
    {wire::eitTopic, psiCaptured, "Error: More than 3 part MPEG PUB EIT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG EIT Received: Topic %s size %d, msgl %d\n", topic, size, length);
     }},
    {wire::tdtTopic, psiCaptured, "Error: More than 3 part MPEG PUB TDT",
     [](const char* topic) { std::printf("Published MPEG TDT Received: Topic %s\n", topic); }, nullptr},
    {wire::pmtTopic, pmtCaptured, "Error: More than 3 part MPEG PUB PMT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG PMT Received: Topic %s msgl %d size %d\n", topic, length, size);
     }},
    {wire::tsStatusTopic, tsStatusCaptured, "Error: More than 3 part MPEG PUB STAT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG STAT Received: Topic %s msgl %d size %d\n", topic, length, size);
     }},
    {wire::avPgmTopic, avPgmCaptured, "Error: More than 3 part MPEG PUB STAT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG AVPGM Received: Topic %s msgl %d size %d\n", topic, length, size);
     }},
}};

} // namespace mpegfe
