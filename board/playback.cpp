#include "playback.h"

#include "analyser.h"
#include "boardError.h"
#include "packetSource.h"
#include "packetSync.h"
#include "publisher.h"
#include "recordPrinter.h"
#include "recordWriter.h"

#include <csignal>
#include <cstdio>
#include <memory>

namespace board {

namespace {

volatile std::sig_atomic_t stopRequested = 0;

// Passes every packet of the source, once through, to onPacket. Throws BoardError when the source holds no
// transport stream. onPacket returns false to stop.
class Reader {
  public:
    explicit Reader(const std::string& name) : name_(name), source_(openSource(name)) {}

    template <class OnPacket>
    void readThrough(OnPacket&& onPacket) {
        std::vector<std::uint8_t> buffer(tunables::readSize);
        std::size_t total = 0;
        while (stopRequested == 0) {
            const std::size_t count = source_->read(buffer);
            total += count;
            if (count == 0) {
                if (stopRequested == 0) {
                    sync_.finish(onPacket);
                    requirePackets(total);
                }
                return;
            }
            sync_.push(std::span(buffer).first(count), onPacket);
            if (sync_.stride() == 0 && total >= tunables::searchLimit) {
                requirePackets(total);
            }
        }
    }

    bool rewind() {
        return source_->rewind();
    }

  private:
    void requirePackets(std::size_t total) const {
        if (sync_.stride() == 0) {
            throw BoardError(
                {"cannot play " + name_, "a transport stream: packets of 188 bytes that start with 0x47",
                 total == 0 ? "nothing" : "no such packets in " + std::to_string(total) + " bytes",
                 "name a transport stream file"});
        }
    }

    std::string name_;
    std::unique_ptr<PacketSource> source_;
    PacketSync sync_;
};

// Real time against stream time.
class Pace {
  public:
    // How long to wait until this stream time; starts anew when real time is far ahead.
    std::chrono::milliseconds untilDue(Ticks now) {
        const auto wall = Clock::now();
        if (!started_) {
            started_ = true;
            wallStart_ = wall;
            streamStart_ = now;
        }
        const auto due =
            wallStart_ + std::chrono::microseconds((now - streamStart_) / (ticksPerSecond / 1'000'000));
        if (wall - due > tunables::fallingBehind) {
            started_ = false;
        }
        return std::max(std::chrono::duration_cast<std::chrono::milliseconds>(due - wall),
                        std::chrono::milliseconds(0));
    }

  private:
    bool started_ = false;
    Clock::time_point wallStart_;
    Ticks streamStart_ = 0;
};

// Publishes while the source plays.
class Session {
  public:
    explicit Session(const Options& options)
        : options_(options), analyser_(options.ratePeriod), publisher_(options.interval), limits_(say),
          records_(std::make_unique<RecordSet>()) {}

    // Until the stream has settled it is read as fast as it comes, so that a client never waits for a table.
    void packet(const std::uint8_t* bytes) {
        const bool reading = analyser_.packet(bytes);
        if (!settled_) {
            settled_ = reading && analyser_.settled();
            if (settled_) {
                say("playing " + options_.source + ", publishing on " + publishEndpoint +
                    ", instructed over " + instructionEndpoint);
            }
            return;
        }
        if (!reading) {
            return;
        }
        if (options_.fast) {
            turn(std::chrono::milliseconds(0));
            return;
        }
        std::chrono::milliseconds wait{0};
        do {
            wait = pace_.untilDue(analyser_.clock().now());
            turn(wait);
        } while (stopRequested == 0 && wait.count() > 0);
    }

    void seam() {
        analyser_.seam();
    }

    // The source has ended for good: what is known now is published once more.
    void finish() {
        analyser_.finish();
        publisher_.attend(std::chrono::milliseconds(0));
        writeRecords(analyser_.model(), analyser_.rates(), options_.eventService, *records_, limits_);
        publisher_.publishRound(*records_);
    }

  private:
    void turn(std::chrono::milliseconds wait) {
        publisher_.attend(std::min(wait, publisher_.untilDue()));
        if (publisher_.untilDue().count() == 0) {
            writeRecords(analyser_.model(), analyser_.rates(), options_.eventService, *records_, limits_);
            publisher_.publish(*records_);
        }
    }

    const Options& options_;
    Analyser analyser_;
    Publisher publisher_;
    LimitReport limits_;
    std::unique_ptr<RecordSet> records_;
    Pace pace_;
    bool settled_ = false;
};

} // namespace

void play(const Options& options) {
    Reader reader(options.source);
    Session session(options);
    while (stopRequested == 0) {
        reader.readThrough([&](const std::uint8_t* bytes) {
            if (stopRequested == 0) {
                session.packet(bytes);
            }
        });
        if (stopRequested != 0 || options.once || !reader.rewind()) {
            break;
        }
        session.seam();
    }
    session.finish();
}

void printRecords(const Options& options) {
    Reader reader(options.source);
    Analyser analyser(options.ratePeriod);
    reader.readThrough([&](const std::uint8_t* bytes) { analyser.packet(bytes); });
    analyser.finish();
    const auto records = std::make_unique<RecordSet>();
    LimitReport limits(say);
    writeRecords(analyser.model(), analyser.rates(), options.eventService, *records, limits);
    std::fputs(recordsAsJson(*records, analyser.rates().window()).c_str(), stdout);
}

void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopRequested = 1; };
    for (const int signal : {SIGINT, SIGTERM}) {
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace board
