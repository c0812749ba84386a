// Every tunable of the board, with its unit, in one place.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ratio>

namespace board {

// Ticks of the 27 MHz system clock (ISO/IEC 13818-1, 2.4.2.1), and fractions of them.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 27'000'000>>;
using FineTicks = std::chrono::duration<double, Ticks::period>;

namespace tunables {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Publishing.
inline constexpr milliseconds publishInterval{250}; // every requested topic at least this often
inline constexpr milliseconds publishMargin{10};    // and that much earlier, for a late wake-up
inline constexpr milliseconds changeInterval{50};   // how often records are compared for changes
inline constexpr milliseconds closePatience{500};   // for what has been published but not sent, at the end
inline constexpr milliseconds slowClientPatience{10'000}; // the same with a client that is waited for
inline constexpr milliseconds readingPatience{6'000};     // for one that reads nothing; a request's document
                                                          // is waited for up to 5 s
inline constexpr milliseconds restingPatience{500};       // the same when it has asked for the PAT alone
inline constexpr milliseconds instructionPatience{3000};  // for the reply to an instruction word
inline constexpr milliseconds joinPause{20}; // from the last subscription to the next full round,
                                             // so that one round serves all of a client's topics

// Clients, so that none of them can fill memory, use up descriptors or keep the board to itself.
inline constexpr std::size_t mostClients = 512;         // connections to the records at once
inline constexpr std::size_t mostInstructors = 128;     // and to the instruction endpoint
inline constexpr milliseconds handshakePatience{5'000}; // for one that connects and says nothing
inline constexpr seconds keepalive{20};                 // between looks at one that is silent; 3 without an
                                                        // answer end it
inline constexpr std::size_t reservedDescriptors = 40;  // that no client gets
inline constexpr std::size_t clientMessagesASecond = 2'000; // from one connection; more are a flood
inline constexpr std::size_t uselessSubscriptionBytes =
    4'096;                                                // of texts that select no topic; libzmq keeps them
inline constexpr std::size_t leastSubscriptionBytes = 16; // that one of them counts for
inline constexpr int subscriptionsATurn = 1'000;          // taken before anything else is looked at
inline constexpr int subscriptionQueue = 12;              // waiting of a connection; a client has 9
inline constexpr int subscriptionBuffer = 8'192;          // bytes of a connection's socket
inline constexpr int instructionQueue = 32;               // words waiting of a connection

// Recording.
inline constexpr milliseconds recordPoll{50};       // between looks at signals and the duration
inline constexpr milliseconds recordPatience{3000}; // before it is said that nothing arrives

// Showing.
inline constexpr milliseconds progressInterval{250}; // between looks of a user at how far the board is

// Measuring, in stream time.
inline constexpr Ticks ratePeriod = seconds(1);             // in which the rate of a silent PID falls to 0
inline constexpr Ticks settlePatience = milliseconds(2500); // wait for tables before publishing without
inline constexpr Ticks headerRecheck = seconds(1);          // between looks at a known stream's header
inline constexpr std::uint32_t timedPictures = 100;         // that a picture rate is measured over, at most
inline constexpr std::uint32_t fewestPictures = 2;          // and at least
inline constexpr Ticks stampJitter = milliseconds(2);       // between pictures of an even rate
inline constexpr std::uint64_t settlePackets = 400'000;     // settling never takes more packets than this
inline constexpr std::uint32_t unsettledStreams = 1'000; // and where the stream's clock is the only one, no
                                                         // more streams that follow one another
inline constexpr std::size_t probedStreams = 1'024;      // whose headers are looked at, at most

// The stream clock.
inline constexpr Ticks plausibleStep = seconds(1);     // of a PCR; a longer one must agree with the packets,
inline constexpr Ticks longestStep = seconds(30);      // and none is longer than this
inline constexpr std::uint64_t stampPatience = 5'000;  // packets without a PCR; then PES time stamps count
inline constexpr std::uint64_t clockPatience = 20'000; // the same of any time; no picture has more packets
inline constexpr double assumedBitRate = 10e6;         // bit/s of a stream that shows no time at all
inline constexpr Ticks longestGap = seconds(2);        // between bursts of a live stream

// What counts as an error (ETSI TR 101 290, clause 5.2). An absence counts once for every limit that passes.
inline constexpr std::uint32_t lostSyncBytes = 2;     // sync bytes missing in a row: sync is lost (1.1)
inline constexpr std::uint32_t regainedSyncBytes = 5; // there in a row: it is found again (1.1)
inline constexpr Ticks patLimit = milliseconds(500);  // from PAT section to PAT section (1.3.a)
inline constexpr Ticks pmtLimit = milliseconds(500);  // from PMT section to PMT section (1.5.a)
inline constexpr Ticks pidLimit = seconds(5);         // from packet to packet of a program's PID (1.6)
inline constexpr Ticks pcrRepetitionLimit =
    milliseconds(100); // from PCR to PCR (2.3.a since its third edition, and
                       // ISO/IEC 13818-1, 2.7.2; earlier editions: 40)
inline constexpr Ticks pcrStepLimit = milliseconds(100); // of their values, unless announced (2.3.b)
inline constexpr FineTicks pcrAccuracyLimit = std::chrono::nanoseconds(500); // (2.4)
inline constexpr Ticks ptsLimit = milliseconds(700); // from time stamp to time stamp (2.5)
inline constexpr Ticks catLimit = seconds(2); // scrambled packets without a CAT (2.6, which names no time)
inline constexpr Ticks watchPeriod = milliseconds(100); // between looks at what is absent
inline constexpr Ticks watchLeap = milliseconds(250);   // of packets between two looks: the clock stood still

// How the accuracy of PCRs is measured, in the PCRs' own time.
inline constexpr Ticks accuracyWindow = seconds(1);  // that a line is laid through
inline constexpr std::size_t fewestAccuracyPcrs = 8; // in a window
inline constexpr std::size_t mostAccuracyPcrs = 256; // in a window, which then ends early
inline constexpr double steadyRate = 1e-3;           // by which windows of a constant bit rate differ at most
inline constexpr Ticks steadyDeviation = milliseconds(1); // of most of its PCRs from the line, at most
inline constexpr std::size_t steadyWindows =
    3; // that agree in a row, before their bit rate is called constant

// Reading.
inline constexpr std::size_t readSize = 64 * 1024;      // bytes a read
inline constexpr std::size_t lockPackets = 5;           // sync bytes in a row that make a transport stream
inline constexpr std::size_t relockPackets = 3;         // sync bytes in a row after a loss
inline constexpr std::size_t searchLimit = 1024 * 1024; // bytes searched for a network's first packet
inline constexpr int datagramsARead = 256;              // at most
inline constexpr int receiveBuffer = 4 * 1024 * 1024;   // bytes of the socket, for bursts
inline constexpr milliseconds rtpPatience{100};         // for an RTP packet that is missing
inline constexpr milliseconds rtpSilence{500};          // then earlier sequence numbers are a new start
inline constexpr std::size_t rtpHeldPackets = 1024;     // behind one that is missing, at most
inline constexpr milliseconds srtPatience{250};         // for an SRT event, between looks at a wish to stop
inline constexpr milliseconds srtCallPause{1000};       // between calls of an SRT listener
inline constexpr milliseconds streamSilence{2000};      // after which packets are a new stream
inline constexpr std::size_t headerBytes = 64 * 1024;   // of a PES packet, searched for codec headers
inline constexpr milliseconds fallingBehind{1000};      // lateness after which real time starts anew

// Bytes searched for the first packet of a file or a pipe; it takes a moment.
inline constexpr std::size_t storedSearchLimit = 64 * searchLimit;

} // namespace tunables
} // namespace board
