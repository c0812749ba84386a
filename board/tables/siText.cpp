#include "tables/siText.h"

#include "tables/aribText.h"
#include "tables/dvbText.h"

namespace board {

namespace {

bool isOfTransmitters(std::uint16_t originalNetworkId) {
    return originalNetworkId >= 0x7880 && originalNetworkId <= 0x7FEF;
}

// DVB has these numbers too, so that they alone do not tell (ARIB TR-B15 for those of transport streams).
bool isOfSatellites(std::uint16_t transportStreamId, std::uint16_t originalNetworkId) {
    return (originalNetworkId == 4 || originalNetworkId == 6 || originalNetworkId == 7) &&
           transportStreamId >> 12 == originalNetworkId;
}

} // namespace

TextReader textReaderOf(std::uint16_t transportStreamId, std::uint16_t originalNetworkId) {
    return isOfTransmitters(originalNetworkId) || isOfSatellites(transportStreamId, originalNetworkId)
               ? aribText
               : dvbText;
}

} // namespace board
