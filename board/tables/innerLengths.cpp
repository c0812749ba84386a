#include "tables/innerLengths.h"

#include "tables/sectionLoops.h"

#include <bitstream/dvb/si.h>

#include <algorithm>
#include <array>

namespace board {

namespace {

// What stands between the header of a table's section and its CRC.
struct Layout {
    std::uint8_t firstTable;
    std::uint8_t lastTable;
    std::size_t headerSize; // up to the first loop, or to the length of common descriptors
    bool commonDescriptors; // with their length before them
    bool entriesLength;     // stands before the entries
    std::size_t entrySize;  // of its fixed part; 0 where there are but descriptors
    bool entriesHaveDescriptors;
};

constexpr std::size_t commonLength = DESCS_HEADER_SIZE; // counts as a part of the header elsewhere

constexpr std::array<Layout, 8> layouts{{
    {PAT_TABLE_ID, PAT_TABLE_ID, PAT_HEADER_SIZE, false, false, PAT_PROGRAM_SIZE, false},
    {CAT_TABLE_ID, CAT_TABLE_ID, CAT_HEADER_SIZE, false, false, 0, true},
    {PMT_TABLE_ID, PMT_TABLE_ID, PMT_HEADER_SIZE - commonLength, true, false, PMT_ES_SIZE, true},
    {NIT_TABLE_ID_ACTUAL, NIT_TABLE_ID_OTHER, NIT_HEADER_SIZE - commonLength, true, true, NIT_TS_SIZE, true},
    {SDT_TABLE_ID_ACTUAL, SDT_TABLE_ID_ACTUAL, SDT_HEADER_SIZE, false, false, SDT_SERVICE_SIZE, true},
    {SDT_TABLE_ID_OTHER, SDT_TABLE_ID_OTHER, SDT_HEADER_SIZE, false, false, SDT_SERVICE_SIZE, true},
    {BAT_TABLE_ID, BAT_TABLE_ID, NIT_HEADER_SIZE - commonLength, true, true, NIT_TS_SIZE, true},
    {EIT_TABLE_ID_PF_ACTUAL, EIT_TABLE_ID_SCHED_OTHER_LAST, EIT_HEADER_SIZE, false, false, EIT_EVENT_SIZE,
     true},
}};

bool areDescriptors(SectionBytes loop) {
    return forEachDescriptor(loop, [](const std::uint8_t*) {});
}

bool areEntries(const Layout& layout, SectionBytes loop) {
    if (layout.entrySize == 0) {
        return areDescriptors(loop);
    }
    if (!layout.entriesHaveDescriptors) {
        return loop.size() % layout.entrySize == 0;
    }
    bool whole = true;
    const bool filled =
        forEachEntry(loop, layout.entrySize, [&](const std::uint8_t*, SectionBytes descriptors) {
            whole = whole && areDescriptors(descriptors);
        });
    return filled && whole;
}

// The length that these bytes begin with; more than there can be where they are too few.
std::size_t lengthAt(SectionBytes bytes) {
    return bytes.size() < DESCS_HEADER_SIZE ? bytes.size() + 1
                                            : DESCS_HEADER_SIZE + std::size_t{descs_get_length(bytes.data())};
}

} // namespace

bool innerLengthsFit(SectionBytes section) {
    const std::uint8_t table = psi_get_tableid(section.data());
    const auto layout = std::ranges::find_if(
        layouts, [&](const Layout& one) { return table >= one.firstTable && table <= one.lastTable; });
    if (layout == layouts.end()) {
        return true;
    }
    if (!isOfTable(section, table, layout->headerSize)) {
        return false;
    }
    SectionBytes rest = sectionBody(section, layout->headerSize);
    if (layout->commonDescriptors) {
        const std::size_t length = lengthAt(rest);
        if (length > rest.size() || !areDescriptors(rest.first(length).subspan(DESCS_HEADER_SIZE))) {
            return false;
        }
        rest = rest.subspan(length);
    }
    if (layout->entriesLength) {
        if (lengthAt(rest) != rest.size()) {
            return false;
        }
        rest = rest.subspan(DESCS_HEADER_SIZE);
    }
    return areEntries(*layout, rest);
}

} // namespace board
