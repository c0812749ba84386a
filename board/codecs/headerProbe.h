// Follows one elementary stream: looks for codec headers in its PES packets, and measures its picture rate
// where those do not tell it.
#pragma once

#include "stream/streamModel.h"
#include "tunables.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace board {

class HeaderProbe {
  public:
    explicit HeaderProbe(const ElementaryStream& stream);

    // Whether it can follow this stream too, as one of the same coding.
    bool suits(const ElementaryStream& stream) const;

    // Takes the payload of the stream's next packet; unitStart is its payload_unit_start_indicator, now the
    // stream clock. What it finds goes into the formats and picture rates of the model.
    void payload(std::span<const std::uint8_t> bytes, bool unitStart, Ticks now, StreamModel& model);

    // A packet is missing: what has been collected is lost.
    void lost();

    // The source has ended: what has been collected is all there is.
    void finish(Ticks now, StreamModel& model);

  private:
    void startPacket(std::span<const std::uint8_t> bytes, Ticks now, StreamModel& model);
    void drop();
    void timePictures(std::span<const std::uint8_t> bytes, StreamModel& model);
    void readHeaders(Ticks now, StreamModel& model);

    std::uint16_t pid_;
    StreamKind kind_;
    std::uint8_t streamType_;
    std::uint16_t audioCoding_;
    std::vector<std::uint8_t> data_; // of the PES packets that are being collected
    std::size_t searched_ = 0;       // bytes of them that held no header
    bool collecting_ = false;
    Ticks quietUntil_{0};
    std::optional<Ticks> lastStamp_;
    Ticks timed_{0}; // what the measured pictures took
    Ticks shortestStep_{0};
    Ticks longestStep_{0};
    std::uint32_t steps_ = 0;
};

} // namespace board
