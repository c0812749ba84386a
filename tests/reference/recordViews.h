// The nine records as bytes, with each field at its place written out as a number. The service reads its
// records as structs; here nothing is shared with those, so that a field at a wrong place cannot be wrong
// twice.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace reference {

// Little-endian fields at places counted in bytes from the start.
struct Bytes {
    unsigned char* start;

    int u8(int at) const {
        return start[at];
    }
    int u16(int at) const {
        return start[at] | start[at + 1] << 8;
    }
    int i32(int at) const {
        std::int32_t value = 0;
        std::memcpy(&value, start + at, sizeof value);
        return value;
    }
    float f32(int at) const {
        float value = 0;
        std::memcpy(&value, start + at, sizeof value);
        return value;
    }
    // Up to the first zero byte, or all of the width.
    std::string text(int at, int width) const {
        const char* field = reinterpret_cast<const char*>(start + at);
        return {field, strnlen(field, static_cast<std::size_t>(width))};
    }

    void putU8(int at, int value) const {
        start[at] = static_cast<unsigned char>(value);
    }
    void putU16(int at, int value) const {
        putU8(at, value & 0xFF);
        putU8(at + 1, value >> 8);
    }
    void putF32(int at, float value) const {
        std::memcpy(start + at, &value, sizeof value);
    }
    // With a terminator.
    void putText(int at, const std::string& value) const {
        std::memcpy(start + at, value.c_str(), value.size() + 1);
    }
};

struct Pat : Bytes {
    int pid(int i) const {
        return u16(2 * i) & 0x1FFF;
    }
    int programCount() const {
        return i32(552);
    }
    int pgmNum(int k) const {
        return u16(560 + 4 * k);
    }
    int pmtPid(int k) const {
        return u16(560 + 4 * k + 2);
    }
    float pidRate() const {
        return f32(800);
    }
    int transportStreamId() const {
        return u16(840);
    }
    int sectionProgramCount() const {
        return u16(848);
    }
    int sectionPgmNum(int k) const {
        return u16(856 + 4 * k);
    }
    int sectionPmtPid(int k) const {
        return u16(856 + 4 * k + 2);
    }
    int pidListCount() const {
        return u16(1104);
    }
};

// One slot of the PMT record.
struct Pmt : Bytes {
    int pgmNum() const {
        return u16(10);
    }
    int pmtPid() const {
        return u16(12);
    }
    int pcrPid() const {
        return u16(14);
    }
    int ecmCount() const {
        return u16(20);
    }
    int ecmPid(int e) const {
        return u16(22 + 2 * e);
    }
    int videoPid() const {
        return u16(34);
    }
    int videoStreamType() const {
        return u16(36);
    }
    int audioCount() const {
        return u16(44);
    }
    int audioPid(int t) const {
        return u16(48 + 2 * t);
    }
    int audioCoding(int t) const {
        return u16(72 + 2 * t);
    }
    int privateCount() const {
        return u16(124);
    }
    int privatePid(int p) const {
        return u16(128 + 2 * p);
    }
    std::string audioLanguage(int t) const {
        return text(208 + 4 * t, 4);
    }
};

struct TsStatus : Bytes {
    float rate(int i) const {
        return f32(264 + 16 * i);
    }
    void putRate(int i, float rate) const {
        putF32(264 + 16 * i, rate);
    }
};

// One slot of the AVPGM record.
struct Av : Bytes {
    int pgmNum() const {
        return u16(2);
    }
    int pmtPid() const {
        return u16(4);
    }
    int videoPid() const {
        return u16(12);
    }
    int horizRes() const {
        return u16(22);
    }
    int vertRes() const {
        return u16(24);
    }
    float pictRate() const {
        return f32(28);
    }
    int entropyFlag() const {
        return i32(32);
    }
    int aspectRatio() const {
        return u16(38);
    }
    int profile() const {
        return i32(44);
    }
    int level() const {
        return i32(48);
    }
    int videoScrambled() const {
        return u16(56);
    }
    int audioCount() const {
        return u16(64);
    }
    int audioPid(int t) const {
        return u16(76 + 24 * t);
    }
    int bitRateIndex(int t) const {
        return u8(81 + 24 * t);
    }
    int sampleRateIndex(int t) const {
        return u8(82 + 24 * t);
    }
    int modeIndex(int t) const {
        return u8(83 + 24 * t);
    }
    int audioScrambled(int t) const {
        return u16(86 + 24 * t);
    }
    int privateCount() const {
        return u16(356);
    }
    int privatePid(int p) const {
        return u16(358 + 10 * p);
    }
    int allScrambled() const {
        return u16(478);
    }
};

// One service of the SDT record.
struct Service : Bytes {
    int serviceId() const {
        return u16(0);
    }
    int serviceType() const {
        return u8(2);
    }
    int pmtPid() const {
        return u16(4);
    }
    int caFlag() const {
        return u8(6);
    }
    int pidCount() const {
        return u8(7);
    }
    int patIndex() const {
        return u8(8);
    }
    float rate() const {
        return f32(12);
    }
    int allScrambled() const {
        return u16(16);
    }
    std::string providerName() const {
        return text(18, 36);
    }
    std::string serviceName() const {
        return text(54, 38);
    }
};

struct Sdt : Bytes {
    int tableId() const {
        return u16(6);
    }
    int transportStreamId() const {
        return u16(8);
    }
    int originalNetworkId() const {
        return u16(10);
    }
    int serviceCount() const {
        return u16(12);
    }
    int actual() const {
        return u16(14);
    }
    Service service(int k) const {
        return {start + 16 + 92 * k};
    }
    float aggregateRate() const {
        return f32(5540);
    }
    int scrambledCount() const {
        return u16(5544);
    }
    float pidRate() const {
        return f32(5548);
    }
};

struct Cat : Bytes {
    int caCount() const {
        return u16(6);
    }
    int tableId() const {
        return u8(10);
    }
    int caSystemId(int k) const {
        return u16(14 + 4 * k);
    }
    int caPid(int k) const {
        return u16(14 + 4 * k + 2);
    }
    float pidRate() const {
        return f32(56);
    }
};

struct Nit : Bytes {
    int tableId() const {
        return u16(6);
    }
    int networkId() const {
        return u16(8);
    }
    int transportStreamId() const {
        return u16(10);
    }
    int originalNetworkId() const {
        return u16(12);
    }
    int descriptorType() const {
        return u8(14);
    }
    std::string descriptorText() const {
        return text(15, 37);
    }
    int descriptorCount() const {
        return u16(52);
    }
    float pidRate() const {
        return f32(56);
    }
    int entryType(int k) const {
        return u8(60 + 222 * k);
    }
    std::string entryText(int k) const {
        return text(60 + 222 * k + 1, 221);
    }
};

// One event of the EIT record.
struct Event : Bytes {
    int eventId() const {
        return u16(0);
    }
    int startDateMjd() const {
        return u16(2);
    }
    std::string startTime() const {
        return text(4, 12);
    }
    std::string duration() const {
        return text(16, 12);
    }
    std::string language() const {
        return text(28, 8);
    }
    std::string eventName() const {
        return text(36, 36);
    }
    std::string description() const {
        return text(72, 36);
    }
};

struct Eit : Bytes {
    int tableId() const {
        return u16(6);
    }
    int serviceId() const {
        return u16(8);
    }
    int transportStreamId() const {
        return u16(10);
    }
    int originalNetworkId() const {
        return u16(12);
    }
    int eventCount() const {
        return u16(14);
    }
    float pidRate() const {
        return f32(20);
    }
    Event event(int k) const {
        return {start + 24 + 108 * k};
    }
};

struct Tdt : Bytes {
    int dateMjd() const {
        return u16(6);
    }
    std::string timeOfDay() const {
        return text(8, 12);
    }
    int tableId() const {
        return u8(20);
    }
    float pidRate() const {
        return f32(24);
    }
};

// The newest copy of each record.
struct Records {
    std::vector<unsigned char> patBytes = std::vector<unsigned char>(1240);
    std::vector<unsigned char> sdtBytes = std::vector<unsigned char>(5552);
    std::vector<unsigned char> catBytes = std::vector<unsigned char>(60);
    std::vector<unsigned char> nitBytes = std::vector<unsigned char>(2280);
    std::vector<unsigned char> eitBytes = std::vector<unsigned char>(6504);
    std::vector<unsigned char> tdtBytes = std::vector<unsigned char>(28);
    std::vector<unsigned char> pmtBytes = std::vector<unsigned char>(27376);
    std::vector<unsigned char> tsStatusBytes = std::vector<unsigned char>(2308);
    std::vector<unsigned char> avPgmBytes = std::vector<unsigned char>(29280);

    Pat pat() {
        return {patBytes.data()};
    }
    Sdt sdt() {
        return {sdtBytes.data()};
    }
    Cat cat() {
        return {catBytes.data()};
    }
    Nit nit() {
        return {nitBytes.data()};
    }
    Eit eit() {
        return {eitBytes.data()};
    }
    Tdt tdt() {
        return {tdtBytes.data()};
    }
    Pmt pmt(int slot) {
        return {pmtBytes.data() + 464 * slot};
    }
    TsStatus tsStatus() {
        return {tsStatusBytes.data()};
    }
    Av av(int slot) {
        return {avPgmBytes.data() + 488 * slot};
    }
};

} // namespace reference
