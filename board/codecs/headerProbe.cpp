#include "codecs/headerProbe.h"

#include "codecs/codecHeaders.h"
#include "packets/packetFields.h"

#include <bitstream/mpeg/pes.h>

#include <algorithm>
#include <utility>

namespace board {

HeaderProbe::HeaderProbe(const ElementaryStream& stream)
    : pid_(stream.pid), kind_(stream.kind), streamType_(stream.streamType), audioCoding_(stream.audioCoding) {
}

bool HeaderProbe::suits(const ElementaryStream& stream) const {
    return stream.kind == kind_ && stream.streamType == streamType_ && stream.audioCoding == audioCoding_;
}

// Collects the start of a video stream's PES packet, as much of it as is searched for headers, and of an
// audio stream the PES packets one behind the other, because frames need not begin where they do.
void HeaderProbe::payload(std::span<const std::uint8_t> bytes, bool unitStart, Ticks now,
                          StreamModel& model) {
    if (unitStart) {
        if (kind_ == StreamKind::video) {
            timePictures(bytes, model);
        }
        startPacket(bytes, now, model);
        if (!collecting_) {
            return;
        }
        const std::size_t start = pesFixedBytes + pes_get_headerlength(bytes.data());
        bytes = bytes.subspan(std::min(start, bytes.size()));
    }
    if (!collecting_) {
        return;
    }
    data_.insert(data_.end(), bytes.begin(), bytes.end());
    if (data_.size() >= tunables::headerBytes) {
        readHeaders(now, model);
        drop();
    }
}

// A PES packet begins: looks at what has been collected, and decides whether to go on with it.
void HeaderProbe::startPacket(std::span<const std::uint8_t> bytes, Ticks now, StreamModel& model) {
    // A stream whose frames are not found is not searched again until twice as much of it is there.
    if (collecting_ && data_.size() >= 2 * searched_) {
        readHeaders(now, model);
    }
    const bool goOn = now >= quietUntil_ && startsPes(bytes);
    if (!goOn || !collecting_ || kind_ == StreamKind::video) {
        drop();
    }
    collecting_ = goOn;
}

void HeaderProbe::drop() {
    collecting_ = false;
    data_.clear();
    searched_ = 0;
}

// Measures the picture rate by the decoding times of successive PES packets, one picture each. Where they are
// uneven, they are not one picture each, and there is no rate.
void HeaderProbe::timePictures(std::span<const std::uint8_t> bytes, StreamModel& model) {
    if (steps_ >= tunables::timedPictures) {
        return;
    }
    const auto stamp = timeStampOf(bytes);
    const auto last = std::exchange(lastStamp_, stamp);
    if (!stamp || !last || *stamp <= *last || *stamp - *last > std::chrono::seconds(1)) {
        return;
    }
    const Ticks step = *stamp - *last;
    timed_ += step;
    shortestStep_ = steps_ == 0 ? step : std::min(shortestStep_, step);
    longestStep_ = std::max(longestStep_, step);
    ++steps_;
    const bool even = longestStep_ - shortestStep_ <= tunables::stampJitter;
    model.pictureRates[pid_] = even && steps_ >= tunables::fewestPictures
                                   ? static_cast<float>(steps_ * FineTicks(std::chrono::seconds(1)) / timed_)
                                   : 0.0F;
}

void HeaderProbe::readHeaders(Ticks now, StreamModel& model) {
    searched_ = data_.size();
    bool found = false;
    if (kind_ == StreamKind::video) {
        if (const auto format = readVideoFormat(streamType_, data_)) {
            model.videoFormats[pid_] = *format;
            found = true;
        }
    } else if (const auto format = readAudioFormat(audioCoding_, data_)) {
        model.audioFormats[pid_] = *format;
        found = true;
    }
    if (found) {
        quietUntil_ = now + tunables::headerRecheck;
    }
}

void HeaderProbe::lost() {
    drop();
    lastStamp_.reset();
}

void HeaderProbe::finish(Ticks now, StreamModel& model) {
    if (collecting_) {
        readHeaders(now, model);
        drop();
    }
}

} // namespace board
