#include "playback.h"

#include "analysis/analyser.h"
#include "boardError.h"
#include "packets/packetSync.h"
#include "progress.h"
#include "publish/publisher.h"
#include "records/errorPrinter.h"
#include "records/recordPrinter.h"
#include "records/recordWriter.h"
#include "source/openSource.h"
#include "statisticsOutput.h"

#include "companions/stopSignals.h"

#include <algorithm>
#include <memory>
#include <poll.h>
#include <utility>

namespace board {

namespace {

using Clock = std::chrono::steady_clock;
using companions::stopRequested;
using std::chrono::duration_cast;
using std::chrono::milliseconds;

Instant realTime() {
    return Clock::now().time_since_epoch();
}

constexpr const char* wantedPackets = "a transport stream: packets of 188 bytes that start with 0x47";

// The packets of a source.
class Reader {
  public:
    // Of a read; bytes are no packets, or not yet.
    enum class Outcome { packets, bytes, nothing, ended };

    Reader(const std::string& name, const std::string& interface)
        : name_(name), source_(openSource(name, {interface})), buffer_(tunables::readSize) {}

    // Reads once and passes every packet found to onPacket(const std::uint8_t*). Throws BoardError when the
    // source holds no transport stream.
    template <class OnPacket>
    Outcome read(OnPacket&& onPacket) {
        const PacketSource::Arrival arrival = source_->read(buffer_);
        total_ += arrival.bytes;
        const std::uint64_t before = packets_;
        if (arrival.ended) {
            sync_.finish(counting(onPacket));
            requirePackets(total_);
            requireMore();
            return Outcome::ended;
        }
        sync_.push(std::span(buffer_).first(arrival.bytes), counting(onPacket));
        lookForPackets();
        if (packets_ != before) {
            return Outcome::packets;
        }
        return arrival.bytes == 0 ? Outcome::nothing : Outcome::bytes;
    }

    // Passes the packets that were held back until it is known what follows them.
    template <class OnPacket>
    void rest(OnPacket&& onPacket) {
        sync_.rest(counting(onPacket));
    }

    // The same, and drops what is left of a packet: it will not be continued.
    template <class OnPacket>
    void finish(OnPacket&& onPacket) {
        if (sync_.stride() != 0) {
            sync_.finish(counting(onPacket));
        }
    }

    bool rewind() {
        bytesBeforePass_ = total_;
        packetsBeforePass_ = packets_;
        return source_->rewind();
    }
    std::uint64_t syncLosses() const {
        return sync_.losses();
    }
    const SyncErrors& syncErrors() const {
        return sync_.errors();
    }
    std::uint64_t bytes() const {
        return total_;
    }
    int descriptor() const {
        return source_->descriptor();
    }
    bool canBeSilent() const {
        return source_->descriptor() >= 0;
    }
    SourceKind kind() const {
        return source_->live() ? SourceKind::live : SourceKind::stored;
    }

  private:
    template <class OnPacket>
    auto counting(OnPacket& onPacket) {
        return [this, &onPacket](const std::uint8_t* packet) {
            ++packets_;
            onPacket(packet);
        };
    }

    // A network may bring anything before it brings a stream; a file that has not by now does not.
    void lookForPackets() {
        if (sync_.stride() != 0) {
            return;
        }
        if (source_->live() && total_ >= tunables::searchLimit) {
            tellNoPackets();
        }
        if (!source_->live() && total_ >= tunables::storedSearchLimit) {
            requirePackets(total_);
        }
    }

    void requirePackets(std::size_t total) const {
        if (sync_.stride() == 0) {
            throw BoardError(
                {"cannot play " + name_, wantedPackets,
                 total == 0 ? "nothing" : "no such packets in " + std::to_string(total) + " bytes",
                 "name a transport stream"});
        }
    }

    void tellNoPackets() {
        if (!std::exchange(noPacketsTold_, true)) {
            say(describe({"no packets from " + name_, wantedPackets,
                          "no such packets in " + std::to_string(total_) + " bytes", "waiting for them"}));
        }
    }

    // A file that has lost its packets while it played would be started over again and again.
    void requireMore() const {
        if (packets_ == packetsBeforePass_) {
            const std::size_t bytes = total_ - bytesBeforePass_;
            throw BoardError(
                {"cannot go on with " + name_, "the packets that it had before",
                 bytes == 0 ? "an empty file" : "no such packets in " + std::to_string(bytes) + " bytes",
                 "check what writes it"});
        }
    }

    std::string name_;
    std::unique_ptr<PacketSource> source_;
    std::vector<std::uint8_t> buffer_;
    PacketSync sync_;
    std::size_t total_ = 0;
    std::size_t bytesBeforePass_ = 0;
    std::uint64_t packets_ = 0;
    std::uint64_t packetsBeforePass_ = 0;
    bool noPacketsTold_ = false;
};

// Real time against stream time.
class Pace {
  public:
    // How long to wait until this stream time; starts anew when real time is far ahead.
    milliseconds untilDue(Ticks now) {
        const Instant real = realTime();
        const auto due = duration_cast<Instant>(now);
        if (!started_) {
            started_ = true;
            offset_ = real - due;
        }
        const Instant left = due + offset_ - real;
        if (-left > tunables::fallingBehind) {
            started_ = false;
        }
        return std::max(std::chrono::ceil<milliseconds>(left), milliseconds(0));
    }

  private:
    bool started_ = false;
    Instant offset_{0};
};

int exitStatus(FailOn failOn, const StreamErrors& errors) {
    constexpr int firstPriority = 1;
    const bool failed = (failOn == FailOn::errors && errors.any()) ||
                        (failOn == FailOn::priority1 && errors.indicators.any(firstPriority));
    return failed ? streamHasErrors : 0;
}

// Documents of statistics, one each rate period, and one at the end.
class StatisticsWriter {
  public:
    // meanwhile: what is done while a reader is waited for.
    StatisticsWriter(const PlayOptions& options, StatisticsOutput::Meanwhile meanwhile)
        : period_(options.ratePeriod),
          output_(options.statistics,
                  options.fast || options.deterministic ? SlowReader::isWaitedFor
                                                        : SlowReader::missesDocuments,
                  std::move(meanwhile)) {}

    // The stream's clock has been read.
    void clockRead(const Analyser& analyser) {
        const Ticks now = analyser.clock().now();
        output_.goOn();
        if (period_ > Ticks::zero() && now - last_ >= period_) {
            last_ = now;
            write(analyser);
        }
    }

    void finish(const Analyser& analyser) {
        write(analyser);
        output_.finish();
    }

  private:
    void write(const Analyser& analyser) {
        output_.write(
            statisticsAsJson({analyser.clock().now(), analyser.streamNumber(), analyser.packets(),
                              &analyser.errors(), before_, &analyser.model().pids, &analyser.rates()}));
        before_ = analyser.errors().indicators;
    }

    Ticks period_;
    StatisticsOutput output_;
    Ticks last_{0};
    IndicatorCounts before_;
};

// Plays one source and publishes while it does.
class Session {
  public:
    explicit Session(const PlayOptions& options)
        : options_(options), reader_(options.source, options.interface),
          analyser_(options.ratePeriod, timedAs(options, reader_.kind())),
          publisher_(publishOptions(options)), limits_(say), records_(std::make_unique<wire::RecordSet>()),
          progress_(options.once && options.fast ? fileSize(options.source) : std::nullopt) {
        if (!options.statistics.empty()) {
            statistics_.emplace(options, [this] { turn(milliseconds(0), -1); });
        }
    }

    // Returns the exit status.
    int run() {
        // With the stream's clock as the only clock, the stream begins when there is somebody to see its
        // beginning.
        if (options_.deterministic) {
            publisher_.awaitClient();
        }
        lastRead_ = realTime();
        unsettled_ = here();
        while (!stopRequested()) {
            const auto outcome = reader_.read([this](const std::uint8_t* bytes) { arrival(bytes); });
            if (outcome == Reader::Outcome::ended && !startOver()) {
                break;
            }
            if (outcome == Reader::Outcome::nothing || outcome == Reader::Outcome::bytes) {
                silence(outcome == Reader::Outcome::bytes ? milliseconds(0) : tunables::changeInterval);
            }
            tellRealTime();
            settleAtLast();
            sayWhatWasLeftOut();
            progress_.read(reader_.bytes());
        }
        finish();
        return exitStatus(options_.failOn, analyser_.errors());
    }

  private:
    // Where in the stream, and when.
    struct Place {
        Instant since{0};
        Ticks streamTime{0};
        std::uint64_t packet = 0;
    };
    Place here() const {
        return {now(), analyser_.clock().now(), analyser_.packets()};
    }

    void arrival(const std::uint8_t* bytes) {
        endSilence();
        packet(bytes);
    }

    void packet(const std::uint8_t* bytes) {
        if (stopRequested()) {
            return;
        }
        analyser_.sync(reader_.syncErrors());
        const bool reading = analyser_.packet(bytes);
        if (analyser_.streamNumber() != announcedStream_) {
            announceNewStream();
        }
        if (!reading) {
            return;
        }
        if (statistics_) {
            statistics_->clockRead(analyser_);
        }
        settle();
        // A file is read as fast as it goes until it has settled for the first time, so that no client waits.
        const bool paced = !options_.fast && reader_.kind() == SourceKind::stored && everSettled_;
        milliseconds wait{0};
        do {
            wait = paced ? pace_.untilDue(analyser_.clock().now()) : milliseconds(0);
            turn(wait, -1);
        } while (!stopRequested() && wait.count() > 0);
    }

    void settle() {
        if (!settled_ && (analyser_.settled() || waitedLong())) {
            settled_ = true;
            if (!everSettled_) {
                everSettled_ = true;
                say("playing " + options_.source + ", publishing on " + publisher_.endpoint() +
                    ", instructed over " + wire::instructionEndpoint);
            }
        }
    }

    // Streams that follow one another so fast that none of them settles are published as they are.
    bool waitedLong() const {
        return now() - unsettled_.since >= tunables::settlePatience ||
               analyser_.clock().now() - unsettled_.streamTime >= tunables::settlePatience ||
               analyser_.packets() - unsettled_.packet >= tunables::settlePackets ||
               (options_.deterministic && unsettledStreams_ >= tunables::unsettledStreams);
    }

    // Of those the clock may never run either, so that there is no other time at which to look. One of which
    // nothing has come yet says nothing.
    void settleAtLast() {
        if (!settled_ && !analyser_.model().pids.empty() && waitedLong()) {
            settle();
            turn(milliseconds(0), -1);
        }
    }

    // A PAT that says so and nothing else comes before the records of a new stream. Where one follows the
    // other at once, clients need not be told of each.
    void announceNewStream() {
        announcedStream_ = analyser_.streamNumber();
        say("a new stream begins");
        const Instant time = now();
        if (settled_) {
            unsettled_ = here();
            unsettledStreams_ = 0;
        }
        ++unsettledStreams_;
        if (!settled_ && announced_ && time - *announced_ < tunables::changeInterval) {
            return;
        }
        announced_ = time;
        settled_ = false;
        const auto pat = std::make_unique<wire::PatRecord>();
        pat->newStreamFlag = wire::newStreamMark;
        publisher_.publishTopic(wire::patTopic,
                                {reinterpret_cast<const std::uint8_t*>(pat.get()), sizeof *pat});
    }

    // No packets have arrived.
    void silence(milliseconds wait) {
        const Instant start = realTime();
        silentSince_ = silentSince_.value_or(start);
        turn(wait, reader_.descriptor());
        if (realTime() - *silentSince_ >= tunables::changeInterval) {
            reader_.rest([this](const std::uint8_t* bytes) { arrival(bytes); });
        }
        if (!silentSince_ || silenceTold_ || options_.deterministic || !reader_.canBeSilent()) {
            return;
        }
        if (start - *silentSince_ >= tunables::streamSilence) {
            reader_.finish([this](const std::uint8_t* bytes) { packet(bytes); });
            silenceTold_ = true;
            say(analyser_.packets() == 0
                    ? std::string("no packets yet: expected a running stream, got silence; waiting for it")
                    : "no packets for " + std::to_string(tunables::streamSilence.count()) +
                          " ms: expected a running stream, got silence; its rates fall to 0, and what "
                          "comes is a new stream");
        }
    }

    void endSilence() {
        if (silenceTold_ && analyser_.packets() > 0) {
            analyser_.restart();
        }
        silentSince_.reset();
        silenceTold_ = false;
    }

    // With the stream's clock as the only clock, every client gets every message.
    static PublishOptions publishOptions(const PlayOptions& options) {
        return {options.address, options.interval,
                options.deterministic ? SlowClient::isWaitedFor : SlowClient::missesMessages};
    }

    // With the stream's clock as the only clock, nothing is timed by its arrival.
    static SourceKind timedAs(const PlayOptions& options, SourceKind kind) {
        return options.deterministic ? SourceKind::stored : kind;
    }

    // What can be silent is timed by its arrival where it shows no time itself.
    void tellRealTime() {
        const Instant now = realTime();
        const Instant elapsed = now - std::exchange(lastRead_, now);
        const bool counts = reader_.canBeSilent() && !options_.deterministic && analyser_.packets() > 0;
        if (counts && analyser_.realTime(duration_cast<Ticks>(elapsed))) {
            settle();
            turn(milliseconds(0), -1);
            if (statistics_) {
                statistics_->clockRead(analyser_);
            }
        }
    }

    // At the end of the source. Returns whether it goes on.
    bool startOver() {
        if (options_.once || !reader_.rewind()) {
            return false;
        }
        if (options_.newStreamOnLoop) {
            analyser_.restart();
        } else {
            analyser_.seam();
        }
        return true;
    }

    // What is known at the end is published once more.
    void finish() {
        analyser_.sync(reader_.syncErrors());
        analyser_.finish();
        if (statistics_) {
            statistics_->finish(analyser_);
        }
        publisher_.attend(milliseconds(0), -1, [this] { return now(); });
        publisher_.acceptClients();
        writeRecords(analyser_.model(), analyser_.rates(), options_.eventService, *records_, limits_);
        publisher_.publishRound(*records_, wire::allTopicBits, now());
        const StreamErrors& errors = analyser_.errors();
        say("stopped after " + std::to_string(analyser_.packets()) +
            " packets: " + std::to_string(errors.indicators[Indicator::transport]) + " transport errors, " +
            std::to_string(errors.indicators[Indicator::continuity]) + " gaps, " +
            std::to_string(errors.badSections) + " bad sections, " + std::to_string(reader_.syncLosses()) +
            " losses of sync" + errorsInWords(errors));
    }

    void turn(milliseconds wait, int descriptor) {
        const milliseconds longest = settled_ ? publisher_.untilDue(now()) : tunables::changeInterval;
        publisher_.attend(std::min(wait, longest), descriptor, [this] { return now(); });
        if (settled_ && publisher_.untilDue(now()).count() == 0) {
            writeRecords(analyser_.model(), analyser_.rates(), options_.eventService, *records_, limits_);
            publisher_.publish(*records_, now());
        }
    }

    Instant now() const {
        return options_.deterministic ? duration_cast<Instant>(analyser_.clock().now()) : realTime();
    }

    const PlayOptions& options_;
    Reader reader_;
    Analyser analyser_;
    Publisher publisher_;
    LimitReport limits_;
    std::unique_ptr<wire::RecordSet> records_;
    std::optional<StatisticsWriter> statistics_;
    Progress progress_;
    Pace pace_;
    std::uint32_t announcedStream_ = 1;
    bool settled_ = false;
    bool everSettled_ = false;
    Place unsettled_; // since when nothing has been
    std::uint32_t unsettledStreams_ = 0;
    std::optional<Instant> announced_; // when clients were told of a new stream
    std::optional<Instant> silentSince_;
    bool silenceTold_ = false;
    Instant lastRead_{0};
};

} // namespace

int play(const PlayOptions& options) {
    return Session(options).run();
}

int printRecords(const StreamOptions& options) {
    Reader reader(options.source, options.interface);
    Analyser analyser(options.ratePeriod, reader.kind());
    Progress progress(fileSize(options.source));
    Instant lastRead = realTime();
    const auto take = [&](const std::uint8_t* bytes) {
        analyser.sync(reader.syncErrors());
        analyser.packet(bytes);
    };
    for (auto outcome = Reader::Outcome::packets; outcome != Reader::Outcome::ended && !stopRequested();) {
        outcome = reader.read(take);
        progress.read(reader.bytes());
        if (outcome == Reader::Outcome::nothing) {
            pollfd waiting{reader.descriptor(), POLLIN, 0};
            ::poll(&waiting, 1, static_cast<int>(tunables::changeInterval.count()));
        }
        const Instant now = realTime();
        const Instant elapsed = now - std::exchange(lastRead, now);
        if (reader.kind() == SourceKind::live && analyser.packets() > 0) {
            analyser.realTime(duration_cast<Ticks>(elapsed));
        }
    }
    reader.finish(take); // what was held back when a signal came
    analyser.sync(reader.syncErrors());
    analyser.finish();
    progress.erase();
    const auto records = std::make_unique<wire::RecordSet>();
    LimitReport limits(say);
    writeRecords(analyser.model(), analyser.rates(), options.eventService, *records, limits);
    print(recordsAsJson(*records, analyser.rates().window(), analyser.model().pids, analyser.errors()));
    return exitStatus(options.failOn, analyser.errors());
}

} // namespace board
