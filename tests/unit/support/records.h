// Literal builders for the records, and the state in which the process starts.
#pragma once

#include "feed/recordStore.h"
#include "serviceNames.h"
#include "wire/records.h"
#include "wire/topics.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

struct ListedPid {
    std::uint16_t pid;
    float rate; // bit/s
};

struct AudioTrack {
    std::uint16_t pid;
    std::uint16_t scrambled = 0;
};

// One program as the PAT, PMT and AVPGM records tell of it.
struct Program {
    std::uint16_t pgmNum = 0;
    std::uint16_t pmtPid = 0;
    std::uint16_t pcrPid = 0;
    std::uint16_t videoPid = 0;
    std::uint16_t videoScrambled = 0;
    std::vector<AudioTrack> audio{};
    std::vector<std::uint16_t> privatePids{};
    std::vector<std::uint16_t> ecmPids{};
    std::uint16_t allScrambled = 0;
};

struct Service {
    std::uint16_t serviceId = 0;
    std::uint8_t serviceType = 0;
    std::uint16_t pmtPid = 0;
    std::uint8_t caFlag = 0;
    std::uint8_t pidCount = 0;
    std::uint8_t patIndex = 0;
    float rate = 0;
    std::uint16_t allScrambled = 0;
    std::string_view providerName{};
    std::string_view serviceName{};
};

// Record store, PID table and rates as the process starts with them.
void clearProcessState();

// The PID list of the newest PAT record, with the rates of the newest TS-STATUS record.
void listPids(const std::vector<ListedPid>& pids);

// Programs of the newest PAT, PMT and AVPGM records, program index 0 first. The process-wide program count
// follows.
void announcePrograms(const std::vector<Program>& programs);

// Services of an SDT record; the header is left alone.
void listServices(SdtRecord& record, const std::vector<Service>& services);

// Fills a text field: the text, and zeros up to the field's width.
template <std::size_t width>
void setField(char (&field)[width], std::string_view text) {
    std::memset(field, 0, width);
    text.copy(field, width);
}

template <typename Record>
std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

// A test that begins as the process does.
class ProcessStateTest : public testing::Test {
  protected:
    ProcessStateTest() {
        clearProcessState();
    }
};
