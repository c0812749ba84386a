#include "model/streamRecords.h"

#include "support/boundedText.h"

#include <algorithm>

namespace mpegfe {

namespace {

// The PID list is searched in blocks without a branch inside, which compilers turn into a few vector
// instructions. A block may reach behind the valid entries, never behind the list.
constexpr int searchBlock = 64;
static_assert(wire::maxPids % searchBlock == 0);

bool blockHolds(const std::uint16_t* block, std::uint16_t pid) {
    std::uint16_t found = 0;
    for (int i = 0; i < searchBlock; ++i) {
        found |= (block[i] & wire::pidMask) == pid ? 0xFFFF : 0;
    }
    return found != 0;
}

int firstInBlock(const std::uint16_t* block, std::uint16_t pid) {
    std::int16_t first = searchBlock;
    for (std::int16_t i = 0; i < searchBlock; ++i) {
        const std::int16_t candidate = (block[i] & wire::pidMask) == pid ? i : std::int16_t{searchBlock};
        first = std::min(first, candidate);
    }
    return first;
}

} // namespace

int pidListLength() {
    return clampCount(newestRecords.pat.pidListCount, wire::maxPids);
}

std::uint16_t pidAt(int position) {
    return newestRecords.pat.pidList[position] & wire::pidMask;
}

int pidPosition(std::uint16_t pid) {
    const std::uint16_t* list = newestRecords.pat.pidList;
    const int count = pidListLength();
    for (int begin = 0; begin < count; begin += searchBlock) {
        if (blockHolds(list + begin, pid)) {
            const int position = begin + firstInBlock(list + begin, pid);
            return position < count ? position : absentPid;
        }
    }
    return absentPid;
}

float measuredRate(int position) {
    const wire::TsStatusRecord& tsStatus = newestRecords.tsStatus;
    if (position == absentPid) {
        return tsStatus.absentPidRate;
    }
    return position < wire::maxPidStats ? tsStatus.pidStats[position].rate : 0.0F;
}

} // namespace mpegfe
