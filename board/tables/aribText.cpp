#include "tables/aribText.h"

#include "tables/characterTables.h"

#include "companions/release.h"

extern "C" {
#include <aribb24/aribb24.h>
#include <aribb24/decoder.h>
}

#include <memory>
#include <string_view>
#include <vector>

namespace board {

namespace {

using Instance = std::unique_ptr<arib_instance_t, companions::Release<arib_instance_destroy>>;

// The text as far as libaribb24 reads it.
std::string beginningOf(std::span<const std::uint8_t> text) {
    static const Instance instance(arib_instance_new(nullptr));
    arib_decoder_t* decoder = instance ? arib_get_decoder(instance.get()) : nullptr;
    if (decoder == nullptr) {
        return "";
    }
    constexpr std::size_t longest = 8; // bytes that a byte becomes, and more
    std::string decoded(text.size() * longest + 1, '\0');
    arib_initialize_decoder(decoder);
    // It ends the text with a zero that it does not count as part of the room.
    decoded.resize(arib_decode_buffer(decoder, text.data(), text.size(), decoded.data(), decoded.size() - 1));
    arib_finalize_decoder(decoder);
    return decoded;
}

} // namespace

// libaribb24 stops at what it does not know and does not tell. A space behind the text does: unless it comes
// out as one, the text has not been read to its end.
std::string aribText(std::span<const std::uint8_t> text) {
    constexpr std::string_view narrowSpace = " ";
    constexpr std::string_view wideSpace = "\u3000";
    if (text.empty()) {
        return "";
    }
    const std::string decoded = beginningOf(text);
    std::vector<std::uint8_t> longer(text.begin(), text.end());
    longer.push_back(' ');
    const std::string spaced = beginningOf(longer);
    const bool whole =
        spaced == decoded + std::string(narrowSpace) || spaced == decoded + std::string(wideSpace);
    return whole && !decoded.empty() ? decoded : decoded + std::string(undecodable);
}

} // namespace board
