// The loops inside sections: entries of a fixed part and descriptors, and the descriptors. A loop whose
// lengths contradict its own ends early, and nothing behind its end is read. Only what reads tables includes
// this.
#pragma once

#include "tables/section.h"

#include <bitstream/mpeg/psi.h>

#include <algorithm>
#include <cstddef>

namespace board {

// What is between the first bytes of a section, so many, and its CRC.
inline SectionBytes sectionBody(SectionBytes section, std::size_t headerSize) {
    const std::size_t size = section.size() - std::min<std::size_t>(section.size(), PSI_CRC_SIZE);
    return section.first(size).subspan(std::min(headerSize, size));
}

// Whether a section is of this table and has the header of its tables, of so many bytes.
inline bool isOfTable(SectionBytes section, std::uint8_t tableId, std::size_t headerSize) {
    return section.size() >= headerSize + PSI_CRC_SIZE && psi_get_syntax(section.data()) &&
           psi_get_tableid(section.data()) == tableId;
}

// Calls onDescriptor(const std::uint8_t* descriptor) for each descriptor that is whole. Returns whether all
// of the loop is descriptors.
template <class OnDescriptor>
bool forEachDescriptor(SectionBytes loop, OnDescriptor&& onDescriptor) {
    while (loop.size() >= DESC_HEADER_SIZE) {
        const std::size_t size = DESC_HEADER_SIZE + std::size_t{desc_get_length(loop.data())};
        if (size > loop.size()) {
            return false;
        }
        onDescriptor(loop.data());
        loop = loop.subspan(size);
    }
    return loop.empty();
}

// Calls onEntry(const std::uint8_t* entry, SectionBytes descriptors) for each entry that is whole. An entry
// begins with so many fixed bytes, the last two of which hold the length of its descriptors. Returns whether
// all of the loop is entries.
template <class OnEntry>
bool forEachEntry(SectionBytes loop, std::size_t fixedSize, OnEntry&& onEntry) {
    while (loop.size() >= fixedSize) {
        const std::size_t length = descs_get_length(loop.data() + fixedSize - DESCS_HEADER_SIZE);
        if (fixedSize + length > loop.size()) {
            return false;
        }
        onEntry(loop.data(), loop.subspan(fixedSize, length));
        loop = loop.subspan(fixedSize + length);
    }
    return loop.empty();
}

// The descriptors that a length of two bytes at the beginning of these bytes belongs to.
inline SectionBytes descriptorsAt(SectionBytes bytes) {
    if (bytes.size() < DESCS_HEADER_SIZE) {
        return {};
    }
    const std::size_t length = descs_get_length(bytes.data());
    return bytes.subspan(DESCS_HEADER_SIZE, std::min(length, bytes.size() - DESCS_HEADER_SIZE));
}

// Whether a descriptor has this tag and the lengths inside it keep within it, by biTStream's test for its
// kind. least is the length of its fixed part, which that test reads unasked.
inline bool isSound(const std::uint8_t* descriptor, std::uint8_t tag, std::size_t least,
                    bool (*validate)(const std::uint8_t*)) {
    return desc_get_tag(descriptor) == tag && desc_get_length(descriptor) >= least && validate(descriptor);
}

} // namespace board
