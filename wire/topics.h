// The nine topics under which the parser board publishes its records.
#pragma once

#include "wire/recordSet.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace wire {

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

inline constexpr int maxTopicLength = 25; // bytes of a topic name on the wire, without a terminator

struct Topic {
    const char* name; // as subscribed and as published, no terminator on the wire
    TopicBits bit;
    std::size_t size;   // bytes of the record
    std::size_t offset; // of the record in a RecordSet
};

inline constexpr Topic patTopic{"MPEG-STRUCT-PAT", patBit, sizeof(PatRecord), offsetof(RecordSet, pat)};
inline constexpr Topic sdtTopic{"MPEG-STRUCT-SDT", sdtBit, sizeof(SdtRecord), offsetof(RecordSet, sdt)};
inline constexpr Topic catTopic{"MPEG-STRUCT-CAT", catBit, sizeof(CatRecord), offsetof(RecordSet, cat)};
inline constexpr Topic nitTopic{"MPEG-STRUCT-NIT", nitBit, sizeof(NitRecord), offsetof(RecordSet, nit)};
inline constexpr Topic eitTopic{"MPEG-STRUCT-EIT", eitBit, sizeof(EitRecord), offsetof(RecordSet, eit)};
inline constexpr Topic tdtTopic{"MPEG-STRUCT-TDT", tdtBit, sizeof(TdtRecord), offsetof(RecordSet, tdt)};
inline constexpr Topic pmtTopic{"MPEG-STRUCT-PMT", pmtBit, sizeof(PmtRecord), offsetof(RecordSet, pmt)};
inline constexpr Topic tsStatusTopic{"MPEG-STRUCT-TS-STATUS", tsStatusBit, sizeof(TsStatusRecord),
                                     offsetof(RecordSet, tsStatus)};
inline constexpr Topic avPgmTopic{"MPEG-STRUCT-AVPGM", avPgmBit, sizeof(AvPgmRecord),
                                  offsetof(RecordSet, avPgm)};

// All topics, in the order in which they are named on a console and unsubscribed.
inline constexpr std::array<Topic, 9> topics{patTopic, sdtTopic, tsStatusTopic, pmtTopic, avPgmTopic,
                                             catTopic, nitTopic, eitTopic,      tdtTopic};

} // namespace wire
