// Codec headers as they stand in elementary streams: the first byte of an input chooses the coding, the rest
// is searched for headers.
#include "codecs/codecHeaders.h"

#include "check.h"
#include "target.h"

#include <array>
#include <cstdint>
#include <span>

namespace {

constexpr std::array<std::uint8_t, 5> videoTypes{0x01, 0x02, 0x10, 0x1B, 0x24};
constexpr std::uint16_t audioCodings = 6;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t choice = data[0] % (videoTypes.size() + audioCodings);
    const std::span<const std::uint8_t> stream(data + 1, size - 1);
    if (choice < videoTypes.size()) {
        if (const auto format = board::readVideoFormat(videoTypes[choice], stream)) {
            check(format->aspectCode <= 16, "aspect codes are those of the table");
            check(format->pictureRate >= 0, "rates are rates");
        }
    } else if (const auto format =
                   board::readAudioFormat(static_cast<std::uint16_t>(choice - videoTypes.size()), stream)) {
        check(format->bitRateIndex < 15, "bit rates are those of the table");
        check(format->sampleRateIndex <= 3 && format->modeIndex <= 4, "so are sampling rates and modes");
    }
    return 0;
}
