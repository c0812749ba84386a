#include "model/topicNames.h"

#include <array>
#include <cstdio>

namespace mpegfe {

namespace {

struct TopicName {
    wire::TopicBits bit;
    const char* text;
};

// In the order in which they are named, which is not that of the bits.
constexpr std::array<TopicName, 9> topicNames{{
    {wire::patBit, "PAT "},
    {wire::sdtBit, "SDT "},
    {wire::tsStatusBit, "Stat "},
    {wire::pmtBit, "PMT "},
    {wire::avPgmBit, "AV "},
    {wire::catBit, "CAT "},
    {wire::nitBit, "NIT "},
    {wire::eitBit, "EIT "},
    {wire::tdtBit, "TDT "},
}};

} // namespace

int printTopicNames(wire::TopicBits mask) {
    for (const TopicName& name : topicNames) {
        if ((mask & name.bit) != 0) {
            std::fputs(name.text, stdout);
        }
    }
    return std::puts("");
}

} // namespace mpegfe
