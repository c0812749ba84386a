#include "model/streamRecords.h"

#include "support/boundedText.h"

int pidListLength() {
    return clampCount(newestRecords.pat.pidListCount, maxPids);
}

std::uint16_t pidAt(int position) {
    return newestRecords.pat.pidList[position] & pidMask;
}

int pidPosition(std::uint16_t pid) {
    const int count = pidListLength();
    for (int position = 0; position < count; ++position) {
        if (pidAt(position) == pid) {
            return position;
        }
    }
    return absentPid;
}

float measuredRate(int position) {
    const TsStatusRecord& tsStatus = newestRecords.tsStatus;
    if (position == absentPid) {
        return tsStatus.absentPidRate;
    }
    return position < maxPidStats ? tsStatus.pidStats[position].rate : 0.0F;
}
