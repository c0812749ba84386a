// Writes the first inputs of every fuzz target: the stream of the documentation's examples, the requests and
// replies that clients and Trufios really send, and one of each thing that goes wrong.
//
// usage: fuzzSeeds DIRECTORY     an input goes to DIRECTORY/TARGET/NAME
#include "feed/receivedTopics.h"
#include "publishedParts.h"
#include "serviceNames.h"
#include "sessionPeers.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

// One input, written in the order in which its target takes it.
class Seed {
  public:
    Seed& u8(unsigned value) {
        bytes += static_cast<char>(value);
        return *this;
    }
    Seed& u16(unsigned value) {
        return u8(value & 0xFF).u8(value >> 8 & 0xFF);
    }
    Seed& u32(unsigned value) {
        return u16(value & 0xFFFF).u16(value >> 16);
    }
    Seed& u64(std::uint64_t value) {
        return u32(static_cast<unsigned>(value)).u32(static_cast<unsigned>(value >> 32));
    }
    Seed& text(std::string_view value) {
        bytes += value;
        return u8(0);
    }
    Seed& raw(std::string_view value) {
        bytes += value;
        return *this;
    }
    Seed& then(const Seed& more) {
        return raw(more.bytes);
    }

    Seed& kind(MessageKind value) {
        return u8(static_cast<unsigned>(value));
    }
    Seed& source(RecordSource value) {
        return u8(static_cast<unsigned>(value));
    }
    Seed& topic(TopicBits bit) {
        for (unsigned index = 0; index < receivedTopics.size(); ++index) {
            if (receivedTopics[index].topic.bit == bit) {
                return u8(index);
            }
        }
        std::abort();
    }

    // A message whose record is zero but for the bytes that this one has.
    Seed& message(const Topic& published, const RecordSet& set) {
        kind(MessageKind::record).topic(published.bit);
        return patches({reinterpret_cast<const char*>(&set) + published.offset, published.size});
    }
    Seed& generated(TopicBits bit, RecordSource from, unsigned seed) {
        return kind(MessageKind::record).topic(bit).source(from).u16(seed);
    }
    Seed& again() {
        return kind(MessageKind::again);
    }
    Seed& answer(DocumentAnswer value) {
        return u8(static_cast<unsigned>(value));
    }

    const std::string& written() const {
        return bytes;
    }

  private:
    Seed& patches(std::string_view record) {
        Seed body;
        unsigned count = 0;
        for (std::size_t at = record.find_first_not_of('\0'); at != std::string_view::npos && count < 255;
             at = record.find_first_not_of('\0', at)) {
            const std::size_t end =
                std::min({record.find(std::string_view("\0\0\0\0", 4), at), record.size(), at + 255});
            body.u16(static_cast<unsigned>(at))
                .u8(static_cast<unsigned>(end - at))
                .raw(record.substr(at, end - at));
            at = end;
            ++count;
        }
        return source(RecordSource::patches).u8(count).then(body);
    }

    std::string bytes;
};

template <std::size_t width>
void setText(char (&field)[width], std::string_view text) {
    std::memcpy(field, text.data(), text.size());
}

void listPid(RecordSet& set, std::uint16_t pid, float rate) {
    const unsigned place = set.pat.pidListCount++;
    set.pat.pidList[place] = pid;
    set.tsStatus.pidStats[place].rate = rate;
}

void addProgramOfExample(PmtEntry& pmt, AvPgmEntry& av) {
    pmt.pgmNum = av.pgmNum = 501;
    pmt.pmtPid = av.pmtPid = 4096;
    pmt.pcrPid = pmt.videoPid = av.videoPid = 256;
    pmt.videoStreamType = 27;
    av.entropyFlag = 1;
    av.horizRes = 1920;
    av.vertRes = 1080;
    av.pictRate = 25;
    av.aspectRatio = 1;
    av.profile = 77;
    av.level = 40;
    pmt.audioCount = av.audioCount = 1;
    pmt.audioPids[0] = av.audio[0].pid = 257;
    pmt.audioCodings[0] = 3;
    setText(pmt.audioLanguages[0], "eng");
    av.audio[0].bitRateIndex = 10;
    av.audio[0].sampleRateIndex = 1;
    pmt.privateCount = av.privateCount = 1;
    pmt.pvtPids[0] = av.privatePids[0].pid = 258;
    pmt.ecmCount = 1;
    pmt.ecmPids[0] = 1500;
}

void addTablesOfExample(RecordSet& set) {
    set.cat.tableId = 1;
    set.cat.caCount = 2;
    set.cat.caEntries[0] = {0x500, 1001};
    set.cat.caEntries[1] = {0x1802, 1002};

    set.nit.tableId = 0x40;
    set.nit.networkId = 0x3001;
    set.nit.transportStreamId = 0x3F9;
    set.nit.originalNetworkId = 2;
    set.nit.descriptorType = 0x40;
    setText(set.nit.descriptorText, "Home Network");
    set.nit.descriptorCount = 2;
    set.nit.descriptorEntries[0].descriptorType = 0x41;
    setText(set.nit.descriptorEntries[0].descriptorText, "0x01F5/1 0x01F6/1");
    set.nit.descriptorEntries[1].descriptorType = 0x5A;
    setText(set.nit.descriptorEntries[1].descriptorText, "474000000");

    set.eit.tableId = 0x4E;
    set.eit.serviceId = 501;
    set.eit.eventCount = 1;
    set.eit.events[0].eventId = 0x1234;
    set.eit.events[0].startDateMjd = 60000;
    setText(set.eit.events[0].startTime, "20:15:00");
    setText(set.eit.events[0].duration, "01:30:00");
    setText(set.eit.events[0].language, "eng");
    setText(set.eit.events[0].eventName, "Evening News");
    setText(set.eit.events[0].description, "Headlines");

    set.tdt.tableId = 0x70;
    set.tdt.dateMjd = 60000;
    setText(set.tdt.timeOfDay, "12:34:56");
}

void addServicesOfExample(SdtRecord& sdt) {
    sdt.tableId = 0x42;
    sdt.transportStreamId = 0x3F9;
    sdt.originalNetworkId = 2;
    sdt.actual = 1;
    sdt.serviceCount = 2;
    sdt.services[0].serviceId = 501;
    sdt.services[0].pmtPid = 4096;
    setText(sdt.services[0].providerName, "Alpha Net");
    setText(sdt.services[0].serviceName, "News One");
    sdt.services[1].serviceId = 502;
    sdt.services[1].pmtPid = 4112;
    sdt.services[1].caFlag = 1;
    setText(sdt.services[1].providerName, "Beta");
    setText(sdt.services[1].serviceName, "Film Two");
}

// The stream that the documentation's examples tell of.
const RecordSet& exampleStream() {
    static const auto example = [] {
        auto set = std::make_unique<RecordSet>();
        listPid(*set, patPid, 1500);
        listPid(*set, catPid, 800);
        listPid(*set, nitPid, 3500);
        listPid(*set, sdtPid, 12345);
        listPid(*set, eitPid, 2000);
        listPid(*set, tdtPid, 40);
        listPid(*set, 4096, 15040);
        listPid(*set, 256, 3058000);
        listPid(*set, 257, 192000);
        listPid(*set, 258, 250000);
        listPid(*set, 1001, 1504);
        listPid(*set, 1500, 3008);
        listPid(*set, 700, 9000);
        listPid(*set, nullPid, 500000);
        set->pat.programCount = 2;
        set->pat.programs[0] = {0, nitPid};
        set->pat.programs[1] = {501, 4096};
        set->pat.transportStreamId = 0x3F9;
        set->pat.sectionProgramCount = 2;
        std::copy_n(set->pat.programs, 2, set->pat.sectionPrograms);
        addProgramOfExample(set->pmt.slots[1], set->avPgm.slots[1]);
        addTablesOfExample(*set);
        addServicesOfExample(set->sdt);
        return set;
    }();
    return *example;
}

Seed message(const Topic& topic) {
    return Seed().message(topic, exampleStream());
}

Seed patThat(void (*change)(PatRecord& pat)) {
    const auto set = std::make_unique<RecordSet>(exampleStream());
    change(set->pat);
    return Seed().message(patTopic, *set);
}

Seed newStreamPat() {
    return patThat([](PatRecord& pat) { pat.newStreamFlag = newStreamMark; });
}

Seed emptyPat() {
    return patThat([](PatRecord& pat) { pat.pidListCount = 0; });
}

Seed wholeStream() {
    Seed seed;
    for (const Topic& topic : topics) {
        seed.then(message(topic));
    }
    return seed;
}

Seed generatedStream(RecordSource from, unsigned seedNumber) {
    Seed seed;
    for (const Topic& topic : topics) {
        seed.generated(topic.bit, from, seedNumber);
    }
    return seed;
}

class Corpus {
  public:
    explicit Corpus(fs::path directory) : root(std::move(directory)) {}
    void add(const char* target, const std::string& name, const Seed& seed) const {
        fs::create_directories(root / target);
        std::ofstream(root / target / name, std::ios::binary) << seed.written();
    }

  private:
    fs::path root;
};

void addMessages(const Corpus& corpus) {
    const auto add = [&](const char* name, const Seed& seed) { corpus.add("messages", name, seed); };
    add("every-topic", wholeStream());
    add("the-same-twice", message(patTopic).again());
    add("new-stream", message(patTopic).then(newStreamPat()).then(emptyPat()).then(message(patTopic)));
    add("unknown-topic", Seed()
                             .kind(MessageKind::topicText)
                             .text("MPEG-STRUCT-XXX")
                             .then(message(sdtTopic))
                             .then(message(tdtTopic)));
    add("short-records", message(eitTopic)
                             .kind(MessageKind::record)
                             .topic(eitBit)
                             .source(RecordSource::bytes)
                             .u16(20)
                             .raw("twenty bytes, no more")
                             .again());
    add("over-long-topic", Seed()
                               .kind(MessageKind::longPart)
                               .u32(26)
                               .u8(26)
                               .raw("MPEG-STRUCT-TS-STATUS-----")
                               .then(message(patTopic)));
    add("over-long-parts", Seed()
                               .kind(MessageKind::topicText)
                               .text("MPEG-STRUCT-CAT")
                               .kind(MessageKind::longPart)
                               .u32(0x7FFFFFFF)
                               .u8(70)
                               .raw(std::string(70, 'x'))
                               .kind(MessageKind::part)
                               .u16(0)
                               .kind(MessageKind::part)
                               .u16(11)
                               .raw("MPEG-STRUCT"));
    for (unsigned part = 0; part < 3; ++part) {
        for (unsigned query = 1; query < 4; ++query) {
            const std::string name =
                "query-" + std::to_string(query) + "-of-part-" + std::to_string(part + 1);
            add(name.c_str(), message(tdtTopic)
                                  .kind(MessageKind::spoiltQueries)
                                  .u8(query << 2 * part)
                                  .topic(avPgmBit)
                                  .source(RecordSource::consistent)
                                  .u16(1)
                                  .then(message(tdtTopic)));
        }
    }
    for (unsigned error = 0; error < 4; ++error) {
        const std::string name = "failed-receives-" + std::to_string(error);
        const Seed failure = Seed().kind(MessageKind::failure).u8(error);
        add(name.c_str(), Seed(failure)
                              .kind(MessageKind::topicText)
                              .text("MPEG-STRUCT-NIT")
                              .then(failure)
                              .kind(MessageKind::part)
                              .u16(2)
                              .raw("xx")
                              .then(message(nitTopic)));
    }
}

Seed round(const Seed& stream, unsigned messages, unsigned programs = 0) {
    return Seed().u8(messages).u32(programs).u8(0).u8(1).u8(58).u16(19).then(stream);
}

void addRecords(const Corpus& corpus) {
    const auto add = [&](const std::string& name, const Seed& seed) { corpus.add("records", name, seed); };
    add("example-stream", round(wholeStream(), 9));
    add("example-stream-without-sdt", round(message(patTopic).then(message(tsStatusTopic)), 2));
    add("example-stream-twice", round(wholeStream(), 9).then(round(Seed().again(), 1)));
    for (const unsigned programs : {1U, 59U, 60U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        add("programs-" + std::to_string(programs),
            round(generatedStream(RecordSource::inconsistent, 2), 9, programs));
    }
    for (unsigned number = 0; number < 4; ++number) {
        add("consistent-" + std::to_string(number),
            round(generatedStream(RecordSource::consistent, number), 9));
    }
    for (unsigned number = 0; number < 12; ++number) {
        add("inconsistent-" + std::to_string(number),
            round(generatedStream(RecordSource::inconsistent, number), 9));
    }
}

Seed reply(unsigned wait, unsigned emptyTries, std::string_view text, unsigned cut = 0) {
    return Seed().u8(wait).u16(emptyTries).u8(cut).text(text);
}

void addReplies(const Corpus& corpus) {
    const auto add = [&](const char* name, const Seed& seed) { corpus.add("replies", name, seed); };
    const char* ack = R"({"reply": "ack"})";
    add("ack", reply(0, 0, ack).then(reply(1, 0, ack)).then(reply(2, 0, ack)));
    add("ack-with-text", reply(0, 0, R"({"reply": "ack", "ack": "done"})")
                             .then(reply(1, 0, R"({"reply": "ack", "ack": "done"})")));
    add("ack-with-number", reply(1, 0, R"({"reply": "ack", "ack": 7})"));
    add("capital-ack", reply(0, 0, R"({"reply": "ACK"})"));
    add("nak", reply(0, 0, R"({"reply": "nak", "reason": "busy"})").then(reply(1, 0, R"({"reply": "nak"})")));
    add("no-reply-in-it",
        reply(0, 0, R"({"answer": "ack"})").then(reply(0, 0, "[]")).then(reply(0, 0, R"({"reply": 1})")));
    add("no-json", reply(0, 0, "xyz").then(reply(1, 0, "")).then(reply(0, 0, "{\"reply\": \"\xFF\"}")));
    add("last-try", reply(0, 500, ack));
    add("too-late", reply(0, 501, ack));
    add("over-long", reply(1, 3, R"({"ack": "a text that is cut", "reply": "ack"      })", 20)
                         .then(reply(0, 0, std::string(60, '['))));
}

Seed request(std::string_view dataStream, std::string_view status) {
    std::string text = R"({"dataStream": ")";
    text.append(dataStream).append(R"(", "status": ")").append(status).append(R"("})");
    return Seed().text(text);
}

Seed detailRequest(std::string_view patIndex) {
    std::string text = R"({"dataStream": "pgmDetail", "patIndex": ")";
    return Seed().text(text.append(patIndex).append(R"("})"));
}

// What a stream request needs before its first document.
Seed quickCapture() {
    return message(patTopic).then(message(pmtTopic)).then(message(tsStatusTopic));
}

Seed psiCapture(const Topic& table) {
    return message(patTopic).then(message(table)).then(message(tsStatusTopic));
}

struct PsiRequest {
    const char* name;
    Topic topic;
};
constexpr PsiRequest psiRequests[] = {{"PAT", patTopic}, {"CAT", catTopic}, {"NIT", nitTopic},
                                      {"SDT", sdtTopic}, {"EIT", eitTopic}, {"TDT", tdtTopic}};

void addRequests(const Corpus& corpus) {
    const auto add = [&](const std::string& name, const Seed& seed) { corpus.add("requests", name, seed); };
    const auto stop = [](const char* name) { return request(name, "off"); };
    add("pidData",
        request("pidData", "on").then(quickCapture()).answer(DocumentAnswer::ack).then(stop("pidData")));
    add("pgmData",
        request("pgmData", "on").then(quickCapture()).answer(DocumentAnswer::ack).then(stop("pgmData")));
    add("pgmDetail",
        detailRequest("1").then(quickCapture()).answer(DocumentAnswer::ack).then(stop("pidData")));
    for (const char* patIndex : {"-1", "2", "x", "99999999999999999999", "58"}) {
        add(std::string("pgmDetail-") + patIndex,
            detailRequest(patIndex).then(quickCapture()).answer(DocumentAnswer::silence));
    }
    for (const PsiRequest& psi : psiRequests) {
        add(psi.name, request(psi.name, "on")
                          .then(psiCapture(psi.topic))
                          .answer(DocumentAnswer::ack)
                          .then(stop(psi.name)));
    }
    const Seed on = request("CAT", "on").then(psiCapture(catTopic)).answer(DocumentAnswer::ack);
    add("on-without-off", Seed(on).then(on).then(on).then(on).then(stop("CAT")).then(stop("CAT")));
    add("off-first", stop("TDT").then(stop("pidData")));
    add("nak-and-late-ack",
        request("EIT", "on")
            .then(psiCapture(eitTopic))
            .answer(DocumentAnswer::text)
            .text(R"({"reply": "nak", "reason": "busy"})")
            .then(request("NIT", "on").then(psiCapture(nitTopic)).answer(DocumentAnswer::ackLate).u16(400)));
    add("pgmDetail-without-patIndex", request("pgmDetail", "on"));
    add("refused", request("PATX", "on")
                       .then(request("pat", "on"))
                       .then(request("PAT", "onn"))
                       .then(request("pidData", ""))
                       .then(Seed().text(R"({"status": "on"})"))
                       .then(Seed().text(R"({"dataStream": 5})")));
    add("no-json", Seed()
                       .text("xyz")
                       .text("")
                       .text("{")
                       .text("[1]")
                       .text("{\"dataStream\": \"\\u0000\"}")
                       .text("\xFF\xFE"));
    add("over-long", Seed()
                         .text(R"({"dataStream": "PAT", "padding": ")" + std::string(400, 'p') + R"("})")
                         .text(std::string(399, '{')));
    add("new-stream",
        request("pidData", "on").then(newStreamPat()).then(quickCapture()).answer(DocumentAnswer::ack));
}

Seed number(unsigned value) {
    return value < 64 ? Seed().u8(value) : Seed().u8(255).u32(value);
}

Seed session(unsigned state, unsigned requestCode, unsigned requestParam, unsigned countdown = 2) {
    return Seed()
        .u16(2) // bytes of the parser's replies
        .u32(2) // programs
        .u8(2)  // run, with what follows set before
        .u8(state)
        .u8(requestCode)
        .then(number(requestParam))
        .u8(countdown)
        .u8(0)      // captured
        .u16(0x1FF) // requested
        .u16(0x105) // changed
        .u16(0)     // changed before
        .u16(0x0F); // instruction
}

void addSessions(const Corpus& corpus) {
    const auto add = [&](const std::string& name, const Seed& seed) { corpus.add("sessions", name, seed); };
    constexpr unsigned run = 0;
    constexpr unsigned tick = 1;
    for (unsigned state = 0; state <= 11; ++state) {
        for (const unsigned requestCode : {1U, 3U, 5U, 7U}) {
            add("state-" + std::to_string(state) + "-request-" + std::to_string(requestCode),
                session(state, requestCode, 1)
                    .then(wholeStream())
                    .answer(DocumentAnswer::ack)
                    .u8(run)
                    .then(quickCapture()));
        }
    }
    add("any-state",
        session(12, 2, 40).then(
            Seed().u8(2).u8(255).u32(0x80000000).u8(255).u32(0xFFFFFFFF).u8(255).u32(0x7FFFFFFF)));
    add("stabilise-by-ticks", session(8, 1, 0)
                                  .then(message(patTopic))
                                  .u8(tick)
                                  .then(message(pmtTopic))
                                  .u8(tick)
                                  .then(message(pmtTopic))
                                  .answer(DocumentAnswer::ack)
                                  .u8(tick)
                                  .u8(tick)
                                  .then(message(patTopic))
                                  .answer(DocumentAnswer::silence));
    add("update-until-document", session(9, 3, 0)
                                     .u8(run)
                                     .then(wholeStream())
                                     .answer(DocumentAnswer::ack)
                                     .u8(run)
                                     .u8(run)
                                     .then(newStreamPat())
                                     .then(quickCapture()));
    add("update-after-broken", session(9, 10, 18, 1)
                                   .then(Seed().kind(MessageKind::failure).u8(1))
                                   .then(message(patTopic))
                                   .answer(DocumentAnswer::ack));
    for (const unsigned state : {2U, 3U, 5U, 8U}) {
        add("new-stream-in-state-" + std::to_string(state),
            session(state, 3, 0).then(newStreamPat()).then(quickCapture()).answer(DocumentAnswer::ack));
    }
    add("request-without-document", session(4, 2, 0).then(message(patTopic)));
    for (const unsigned patIndex : {0U, 58U, 59U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        add("program-index-" + std::to_string(patIndex), session(6, 5, patIndex).answer(DocumentAnswer::ack));
    }
    add("program-index-59-of-60", session(2, 5, 59)
                                      .then(patThat([](PatRecord& pat) { pat.programCount = 60; }))
                                      .then(message(pmtTopic))
                                      .then(message(tsStatusTopic))
                                      .answer(DocumentAnswer::ack));
    add("illegal-psi", session(2, 9, 19).then(psiCapture(sdtTopic)).answer(DocumentAnswer::ack));
}

constexpr std::uint32_t asBefore = 0xFFFFFFFF; // record length of a recorded message that repeats a record

// A message of a recording; what follows a record length is the test's.
Seed recorded(std::uint64_t time, std::string_view topic, std::string_view second, std::uint32_t recordLength,
              std::string_view record) {
    return Seed()
        .u64(time)
        .u8(static_cast<unsigned>(topic.size()))
        .u8(static_cast<unsigned>(second.size()))
        .u32(recordLength)
        .raw(topic)
        .raw(second)
        .raw(record);
}

Seed recordedTdt(std::uint64_t time) {
    return recorded(time, "MPEG-STRUCT-TDT", "1", sizeof(TdtRecord), std::string(sizeof(TdtRecord), 't'));
}

void addRecordings(const Corpus& corpus) {
    const auto add = [&](const char* name, const Seed& messages) {
        corpus.add("recordings", name, Seed().raw("mpegfe-recording 1\n").then(messages));
    };
    const Seed repeated = recorded(250'000, "MPEG-STRUCT-TDT", "2", asBefore, "");
    const std::string cat(sizeof(CatRecord), 'c');
    add("no-message", Seed());
    add("two-topics",
        recordedTdt(0).then(recorded(9, "MPEG-STRUCT-CAT", "1", sizeof(CatRecord), cat)).then(repeated));
    add("cut-off-in-a-record",
        recordedTdt(0).then(recorded(9, "MPEG-STRUCT-CAT", "1", sizeof(CatRecord), cat.substr(1))));
    add("cut-off-in-a-head", recordedTdt(0).u32(9));
    add("nothing-to-repeat", repeated);
    add("record-of-another-size", recorded(0, "MPEG-STRUCT-TDT", "1", 3, "ttt").then(recordedTdt(1)));
    add("unknown-topic", recorded(0, "a\n\x1B", "", 0, "").then(recordedTdt(1)));
    add("record-too-long", recordedTdt(0).then(recorded(1, "MPEG-STRUCT-TDT", "2", 1024 * 1024 + 1, "")));
    add("time-backward", recordedTdt(250'000).then(recordedTdt(249'999)));
    add("time-huge", recordedTdt(0).then(recordedTdt(std::uint64_t{1} << 63)));
    add("time-huge-in-nanoseconds", recordedTdt(0).then(recordedTdt(std::uint64_t{1} << 62)));
    Seed topics;
    for (char topic = ' '; topic <= ' ' + 64; ++topic) {
        topics.then(recorded(0, {&topic, 1}, "", 0, ""));
    }
    add("too-many-topics", topics);
    corpus.add("recordings", "another-version", Seed().raw("mpegfe-recording 2\n").then(recordedTdt(0)));
    corpus.add("recordings", "cut-off-in-the-beginning", Seed().raw("mpegfe-rec"));
    corpus.add("recordings", "empty", Seed());
}

// A request of a browser, as it is sent; "@" is the server's port.
std::string asked(std::string_view line, std::string_view headers = "Host: localhost:@\r\n") {
    return std::string(line) + " HTTP/1.1\r\n" + std::string(headers) + "\r\n";
}

void addWeb(const Corpus& corpus) {
    const auto inPieces = [&](const char* name, unsigned piece, const std::string& sent) {
        corpus.add("web", name, Seed().u8(piece).raw(sent));
    };
    const auto add = [&](const char* name, const std::string& sent) { inPieces(name, 0, sent); };
    const auto with = [](std::string_view header) {
        return "Host: localhost:@\r\n" + std::string(header) + "\r\n";
    };
    constexpr std::string_view page = "GET /";
    add("get-page", asked(page, with("Accept-Encoding: gzip")));
    add("known-tag", asked(page, with("If-None-Match: W/\"0\", *, \"x\";q=0")));
    add("other-host", asked(page, "Host: [::1]:x\r\n"));
    add("two-hosts", asked(page, with("Host: 127.0.0.1:@")));
    add("no-host", asked(page, ""));
    add("other-origin", asked(page, with("Origin: http://localhost.example:@")));
    add("head-without-end", std::string(page) + " HTTP/1.1\r\n" + with("X: " + std::string(20'000, 'x')));
    add("no-http", "\x16\x03\x01\x02");
    add("old-http", "GET /api/events HTTP/1.0\r\n\r\n");
    add("path-upward", asked("GET /../../etc/passwd"));
    add("path-of-escapes", asked("GET /api/csv/%50%41T%00%zz%"));
    add("csv", asked("GET /api/csv/pids", with("Origin: http://localhost:@")));
    add("csv-of-nothing", asked("GET /api/csv/"));
    add("document", asked("GET /api/document/pgmDetail%3A1"));
    add("document-of-a-large-index", asked("GET /api/document/pgmDetail:99999999999999999999"));
    add("two-requests", asked("GET /api/look?at=PAT,pgmDetail:1", with("Mpegfe-Look: 1")) +
                            asked("GET /api/history?seconds=9"));
    add("look-at-many", asked("GET /api/look?at=PAT,,PAT,pgmDetail:,pgmDetail:-1,pgmDetail:58,&at=CAT&at",
                              with("Mpegfe-Look: 1")));
    add("look-of-another-site",
        asked("GET /api/look?at=PAT", with("Sec-Fetch-Site: cross-site\r\nMpegfe-Look: 1")));
    add("history-of-no-number", asked("GET /api/history?seconds=1e3&seconds=-1"));
    add("body", asked("POST /", with("Content-Length: 5")) + "hello");
    add("body-longer-than-said", asked("PUT /api/picture", with("Content-Length: 1")) + "hello");
    inPieces("chunked-body", 16, asked(page, with("Transfer-Encoding: chunked")) + "5\r\nhello\r\n0\r\n\r\n");
    inPieces("head", 1, asked("HEAD /api/events"));
    inPieces("get-picture-in-pieces", 7, asked("GET /api/picture"));
    inPieces("events-and-more", 42, asked("GET /api/events") + asked("GET /api/events"));
    inPieces("closed-with-the-last-answer", 60,
             asked(page, with("Connection: close")) + asked("GET /api/events"));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: fuzzSeeds DIRECTORY\n", stderr);
        return EXIT_FAILURE;
    }
    const Corpus corpus(argv[1]);
    addMessages(corpus);
    addRecords(corpus);
    addRecordings(corpus);
    addReplies(corpus);
    addRequests(corpus);
    addSessions(corpus);
    addWeb(corpus);
    return EXIT_SUCCESS;
}
