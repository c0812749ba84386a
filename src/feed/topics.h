// The nine topics under which the parser board publishes its records: one table, a row a topic.
#pragma once

#include "feed/recordStore.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

// One bit a topic. The same bits make up the instruction word (which topics the parser is to publish), the
// set of requested topics and the set of topics whose record changed.
using TopicBits = std::uint16_t;
inline constexpr TopicBits patBit = 0x001;
inline constexpr TopicBits pmtBit = 0x002;
inline constexpr TopicBits tsStatusBit = 0x004;
inline constexpr TopicBits sdtBit = 0x008;
inline constexpr TopicBits nitBit = 0x010;
inline constexpr TopicBits tdtBit = 0x020;
inline constexpr TopicBits eitBit = 0x040;
inline constexpr TopicBits catBit = 0x080;
inline constexpr TopicBits avPgmBit = 0x100;
inline constexpr TopicBits allTopicBits = 0x1FF;

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

inline constexpr int maxTopicLength = 25; // bytes of a topic name on the wire, without a terminator

struct Topic {
    const char* name; // as subscribed and as published, no terminator on the wire
    TopicBits bit;
    CaptureBits captureBits;
    std::size_t size;       // bytes of the record
    std::size_t offset;     // of the record in a RecordSet
    const char* shortName;  // as printTopicNames shows it
    const char* brokenText; // console line for a message of more than three parts
    // Console lines before and after the record is received; null where the topic has none.
    void (*announce)(const char* topic);
    void (*report)(const char* topic, int size, int length);
};

// In the order in which a received topic is compared. The console lines differ on purpose in their wording,
// in the order of size and length and in the comma of the EIT line; AVPGM reports a broken message with
// TS-STATUS's text.
inline constexpr std::array<Topic, 9> topics{{
    {"MPEG-STRUCT-PAT", patBit, patCaptured | psiCaptured, sizeof(PatRecord), offsetof(RecordSet, pat),
     "PAT ", "Error: More than 3 part MPEG PUB PAT",
     [](const char* topic) { std::printf("Published MPEG PAT Received: Topic %s\n", topic); },
     [](const char*, int size, int length) {
         std::printf("Recv PAT TOPIC size %d msgl %d\n", size, length);
     }},
    {"MPEG-STRUCT-SDT", sdtBit, sdtCaptured | psiCaptured, sizeof(SdtRecord), offsetof(RecordSet, sdt),
     "SDT ", "Error: More than 3 part MPEG PUB SDT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG SDT Received: Topic %s size %d msgl %d\n", topic, size, length);
     }},
    {"MPEG-STRUCT-CAT", catBit, psiCaptured, sizeof(CatRecord), offsetof(RecordSet, cat), "CAT ",
     "Error: More than 3 part MPEG PUB CAT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG CAT Received: Topic %s size %d msgl %d\n", topic, size, length);
     }},
    {"MPEG-STRUCT-NIT", nitBit, psiCaptured, sizeof(NitRecord), offsetof(RecordSet, nit), "NIT ",
     "Error: More than 3 part MPEG PUB NIT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG NIT Received: Topic %s size %d msgl %d\n", topic, size, length);
     }},
    {"MPEG-STRUCT-EIT", eitBit, psiCaptured, sizeof(EitRecord), offsetof(RecordSet, eit), "EIT ",
     "Error: More than 3 part MPEG PUB EIT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG EIT Received: Topic %s size %d, msgl %d\n", topic, size, length);
     }},
    {"MPEG-STRUCT-TDT", tdtBit, psiCaptured, sizeof(TdtRecord), offsetof(RecordSet, tdt), "TDT ",
     "Error: More than 3 part MPEG PUB TDT",
     [](const char* topic) { std::printf("Published MPEG TDT Received: Topic %s\n", topic); }, nullptr},
    {"MPEG-STRUCT-PMT", pmtBit, pmtCaptured, sizeof(PmtRecord), offsetof(RecordSet, pmt), "PMT ",
     "Error: More than 3 part MPEG PUB PMT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG PMT Received: Topic %s msgl %d size %d\n", topic, length, size);
     }},
    {"MPEG-STRUCT-TS-STATUS", tsStatusBit, tsStatusCaptured, sizeof(TsStatusRecord),
     offsetof(RecordSet, tsStatus), "Stat ", "Error: More than 3 part MPEG PUB STAT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG STAT Received: Topic %s msgl %d size %d\n", topic, length, size);
     }},
    {"MPEG-STRUCT-AVPGM", avPgmBit, avPgmCaptured, sizeof(AvPgmRecord), offsetof(RecordSet, avPgm), "AV ",
     "Error: More than 3 part MPEG PUB STAT", nullptr,
     [](const char* topic, int size, int length) {
         std::printf("Published MPEG AVPGM Received: Topic %s msgl %d size %d\n", topic, length, size);
     }},
}};

// The topic of one bit.
constexpr const Topic& topicOf(TopicBits bit) {
    for (const Topic& topic : topics) {
        if (topic.bit == bit) {
            return topic;
        }
    }
    return topics[0];
}

// The order in which topics are named on the console and unsubscribed. It is not the order of the bits, nor
// that of the table above.
inline constexpr std::array<TopicBits, 9> reportOrder{patBit, sdtBit, tsStatusBit, pmtBit, avPgmBit,
                                                      catBit, nitBit, eitBit,      tdtBit};
