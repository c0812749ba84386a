// GStreamer's sections and descriptors with C++ ownership. Only the table readers include this.
#pragma once

#include "companions/release.h"

#include <gst/mpegts/mpegts.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>

namespace board {

using companions::Release;

} // namespace board

namespace board::gst {

struct SectionUnref {
    void operator()(GstMpegtsSection* section) const {
        gst_mpegts_section_unref(section);
    }
};

using Section = std::unique_ptr<GstMpegtsSection, SectionUnref>;
using Text = std::unique_ptr<gchar, Release<g_free>>;
using Array = std::unique_ptr<GPtrArray, Release<g_ptr_array_unref>>;

// Decodes a sound section that came on pid and that biTStream has found well-formed, loop by loop: GStreamer
// believes the lengths inside a section whose CRC is right. Null, or of another type than expected, when it
// makes no sense. GStreamer takes over the bytes that it decodes, so it gets a copy.
inline Section decode(std::uint16_t pid, std::span<const std::uint8_t> bytes, GstMpegtsSectionType expected) {
    auto* copy = static_cast<guint8*>(g_memdup2(bytes.data(), bytes.size()));
    Section section(gst_mpegts_section_new(pid, copy, bytes.size()));
    return section && section->section_type == expected ? std::move(section) : nullptr;
}

// A coded value that GStreamer hands out as an enumeration. The stream may hold any number, also one that is
// no enumerator, and C++ does not allow such a value to be read as the enumeration.
template <class Enumeration>
unsigned codeOf(const Enumeration& value) {
    static_assert(sizeof value == sizeof(unsigned));
    unsigned code = 0;
    std::memcpy(&code, &value, sizeof code);
    return code;
}

// The items of an array; none for null.
template <class Item>
std::span<Item* const> items(const GPtrArray* array) {
    if (array == nullptr) {
        return {};
    }
    return {reinterpret_cast<Item* const*>(array->pdata), array->len};
}

inline std::span<GstMpegtsDescriptor* const> descriptors(const GPtrArray* array) {
    return items<GstMpegtsDescriptor>(array);
}

// Whether a descriptor has this tag and the lengths inside it keep within it, by biTStream's test for its
// kind: GStreamer believes them. least is the length of its fixed part, which that test reads unasked.
inline bool isSound(const GstMpegtsDescriptor& descriptor, unsigned tag, std::size_t least,
                    bool (*validate)(const std::uint8_t*)) {
    return descriptor.tag == tag && descriptor.length >= least && validate(descriptor.data);
}

// Takes over a text that GStreamer made; empty for null.
inline std::string toString(gchar* text) {
    const Text owned(text);
    return owned ? std::string(owned.get()) : std::string();
}

} // namespace board::gst
