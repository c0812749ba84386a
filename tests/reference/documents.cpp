// The nine documents of streamModel.h.
#include "printed.h"
#include "streamModel.h"

#include <array>
#include <cstddef>

namespace reference {
namespace {

// Longest text that the list documents reach by their own rule, and the room that the service has for any.
constexpr std::size_t listLimit = 24990;
constexpr std::size_t room = 25000 - 1; // the terminator takes one

const std::string tail = "]}}";

std::string rateText(float rate) {
    const auto exact = static_cast<double>(rate);
    return rate > 1000000.0F ? printed("%8.3fMbps", exact / 1000000) : printed("%8.3fKbps", exact / 1000);
}

std::string kbpsText(float rate) {
    return printed("%8.3fKbps", static_cast<double>(rate) / 1000.0);
}

// The list of the PID list and the program list. An entry that leaves no room for the tail is left out: only
// rates beyond any real stream are that long.
template <typename EntryText>
void addEntries(std::string& text, int count, const char* overflowLine, std::string& console,
                EntryText entryText) {
    for (int i = 0; i < count; ++i) {
        const std::string entry = entryText(i);
        const std::string separator = i > 0 ? "," : "";
        const bool fits = text.size() + separator.size() + entry.size() + tail.size() <= room;
        if (fits) {
            text += separator + entry;
        }
        if (!fits || text.size() + entry.size() > listLimit) {
            console += std::string(overflowLine) + "\n";
            break;
        }
    }
    text += tail;
}

// "details" of the PSI tables: an array, or a word when the record counts none.
template <typename EntryText>
std::string details(int count, int most, const char* emptyWord, EntryText entryText) {
    if (count == 0) {
        return printed(R"("details":"%s")", emptyWord);
    }
    std::string text = R"("details":[)";
    for (int k = 0; k < cut(count, most); ++k) {
        text += k > 0 ? "," : "";
        text += entryText(k);
    }
    return text + "]";
}

template <std::size_t size>
std::string named(const std::array<const char*, size>& names, int code) {
    return code >= 0 && code < static_cast<int>(size) ? names[static_cast<std::size_t>(code)] : "Unknown";
}

constexpr std::array aspectRatios{"Unknown", "16:9",   "12:11", "10:11", "16:11", "40:33",
                                  "24:11",   "20:11",  "32:11", "80:33", "18:11", "15:11",
                                  "64:33",   "160:99", "4:3",   "3:2",   "2:1"};
constexpr std::array audioTypes{"UNK", "AAC", "AC3", "MPEG1", "MPEG2", "HEAAC"};
constexpr std::array bitRates{"0",       "32kbps",  "48kbps",  "56kbps",  "64kbps",
                              "80kbps",  "96kbps",  "112kbps", "128kbps", "160kbps",
                              "192kbps", "224kbps", "256kbps", "320kbps", "384kbps"};
constexpr std::array sampleRates{"44.1kHz", "48kHz", "32kHz"};
constexpr std::array modes{"Stereo", "Joint", "Dual Ch", "Single Ch"};
constexpr std::array scramblings{"Clear", "Scrambled"};

std::string videoType(int streamType) {
    return streamType == 27 ? "H.264" : streamType == 2 ? "MPEG-2" : "UnkVidTyp";
}

std::string entropy(int streamType, int flag) {
    if (streamType != 27) {
        return "N/A";
    }
    return flag == 1 ? "CABAC" : flag == 0 ? "CAVLC" : "Unknown";
}

std::string profileName(int profile) {
    static const std::map<int, std::string> names{{66, "Simple"}, {77, "Main"}, {88, "High"}, {0, "zero"}};
    const auto found = names.find(profile);
    return found == names.end() ? printed("%d", profile) : found->second;
}

std::string videoElement(const Pmt& pmt, const Av& av) {
    return printed(R"({"pidType":"VIDEO","pidNum":"%d","videoType":"%s","entropy":"%s",)"
                   R"("horizRes":"%d","vertRes":"%d","pictRate":"%6.2f","aspectRatio":"%s",)"
                   R"("profile":"%s","level":"%d","scrambled":"%s"})",
                   pmt.videoPid(), videoType(pmt.videoStreamType()).c_str(),
                   entropy(pmt.videoStreamType(), av.entropyFlag()).c_str(), av.horizRes(), av.vertRes(),
                   static_cast<double>(av.pictRate()), named(aspectRatios, av.aspectRatio()).c_str(),
                   profileName(av.profile()).c_str(), av.level(),
                   named(scramblings, av.videoScrambled()).c_str());
}

std::string audioElement(const Pmt& pmt, const Av& av, int t) {
    return printed(R"({"pidType":"AUDIO","pidNum":"%d","audioType":"%s","language":"%s",)"
                   R"("bitRate":"%s","sampleRate":"%s","mode":"%s","scrambled":"%s"})",
                   pmt.audioPid(t), named(audioTypes, pmt.audioCoding(t)).c_str(),
                   pmt.audioLanguage(t).c_str(), named(bitRates, av.bitRateIndex(t)).c_str(),
                   named(sampleRates, av.sampleRateIndex(t)).c_str(), named(modes, av.modeIndex(t)).c_str(),
                   named(scramblings, av.audioScrambled(t)).c_str());
}

// Elements of the program detail, a comma between them.
template <typename ElementText>
std::string elements(int count, int most, ElementText elementText) {
    std::string text;
    for (int k = 0; k < cut(count, most); ++k) {
        text += k > 0 ? "," : "";
        text += elementText(k);
    }
    return text;
}

std::string patDocument(StreamModel& model) {
    const Pat pat = model.records.pat();
    std::string text = printed(R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{)"
                               R"("pgms":"%d","pidRate":"%s","details":[)",
                               pat.programCount(), kbpsText(pat.pidRate()).c_str());
    text += elements(pat.programCount(), 60, [&](int k) {
        return printed(R"({"pgmNum":"%d","referencePID":"%d"})", pat.pgmNum(k), pat.pmtPid(k));
    });
    return text + "]}}";
}

std::string catDocument(StreamModel& model) {
    const Cat cat = model.records.cat();
    return printed(R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{)"
                   R"("pidCount":"%d","tableID":"0x%x","pidRate":"%s",)",
                   cat.caCount(), static_cast<unsigned>(cat.tableId()), kbpsText(cat.pidRate()).c_str()) +
           details(cat.caCount(), 10, "noServices",
                   [&](int k) {
                       return printed(R"({"systemID":"0x%x","pidNum":"%d"})",
                                      static_cast<unsigned>(cat.caSystemId(k)), cat.caPid(k));
                   }) +
           "}}";
}

std::string nitDocument(StreamModel& model) {
    const Nit nit = model.records.nit();
    return printed(R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{)"
                   R"("descriptorCount":"%d","tableID":"0x%x","netID":"0x%x","streamID":"0x%x",)"
                   R"("origNetID":"0x%x","descriptorType":"0x%x","descriptors":"%s","pidRate":"%s",)",
                   nit.descriptorCount(), static_cast<unsigned>(nit.tableId()),
                   static_cast<unsigned>(nit.networkId()), static_cast<unsigned>(nit.transportStreamId()),
                   static_cast<unsigned>(nit.originalNetworkId()),
                   static_cast<unsigned>(nit.descriptorType()), nit.descriptorText().c_str(),
                   kbpsText(nit.pidRate()).c_str()) +
           details(nit.descriptorCount(), 10, "noServices",
                   [&](int k) {
                       return printed(R"({"descriptorType":"0x%x","descriptors":"%s"})",
                                      static_cast<unsigned>(nit.entryType(k)), nit.entryText(k).c_str());
                   }) +
           "}}";
}

std::string sdtDocument(StreamModel& model) {
    const Sdt sdt = model.records.sdt();
    return printed(R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{)"
                   R"("pgms":"%d","tableID":"0x%x","systemID":"0x%x","netID":"0x%x","pidRate":"%s",)"
                   R"("sdtData":"%s",)",
                   sdt.serviceCount(), static_cast<unsigned>(sdt.tableId()),
                   static_cast<unsigned>(sdt.transportStreamId()),
                   static_cast<unsigned>(sdt.originalNetworkId()), kbpsText(sdt.pidRate()).c_str(),
                   sdt.actual() != 0 ? "Actual" : "Derived") +
           details(sdt.serviceCount(), 60, "noServices",
                   [&](int k) {
                       const Service service = sdt.service(k);
                       return printed(R"({"svcName":"%s","svcProvider":"%s",%s})",
                                      service.serviceName().c_str(), service.providerName().c_str(),
                                      service.caFlag() == 0 ? R"("caFlag":"Clear")" : R"("caFlag":"Set",)");
                   }) +
           "}}";
}

std::string eitDocument(StreamModel& model) {
    const Eit eit = model.records.eit();
    return printed(R"({"requestReply":"dataStream","dataStream":"EIT","EIT":{)"
                   R"("eventCount":"%d","tableID":"0x%x","netID":"0x%x","pgmNum":"0x%x",)"
                   R"("systemID":"0x%x","pidRate":"%s",)",
                   eit.eventCount(), static_cast<unsigned>(eit.tableId()),
                   static_cast<unsigned>(eit.originalNetworkId()), static_cast<unsigned>(eit.serviceId()),
                   static_cast<unsigned>(eit.transportStreamId()), kbpsText(eit.pidRate()).c_str()) +
           details(eit.eventCount(), 60, "NoEvents",
                   [&](int k) {
                       const Event event = eit.event(k);
                       return printed(R"({"eventID":"0x%x","Date:MJD":"%d","TOD":"%s","duration":"%s",)"
                                      R"("language":"%s","event":"%s","description":"%s"})",
                                      static_cast<unsigned>(event.eventId()), event.startDateMjd(),
                                      event.startTime().c_str(), event.duration().c_str(),
                                      event.language().c_str(), event.eventName().c_str(),
                                      event.description().c_str());
                   }) +
           "}}";
}

std::string tdtDocument(StreamModel& model) {
    const Tdt tdt = model.records.tdt();
    return printed(R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{)"
                   R"("tableID":"0x%x","Date:MJD":"%d","TOD":"%s","pidRate":"%s"}})",
                   static_cast<unsigned>(tdt.tableId()), tdt.dateMjd(), tdt.timeOfDay().c_str(),
                   kbpsText(tdt.pidRate()).c_str());
}

} // namespace

std::string pidListDocument(StreamModel& model) {
    const int count = model.records.pat().pidListCount();
    std::string text = printed(R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{)"
                               R"("pidCount":"%d","aggStreamRate":"%s","pids":[)",
                               count, rateText(model.aggStreamRate).c_str());
    addEntries(text, cut(count, 256), "JSON PID Overflow", model.console, [&](int i) {
        const PidRow& row = model.pidTable[static_cast<std::size_t>(i)];
        return printed(R"({"patIndex":"%d","pidOrder":"%d","pidNum":"%d","pidType":"%d",)"
                       R"("referencePID":"%d","pgmNum":"%d","pidRate":"%s","scrambled":"%d",)"
                       R"("description":"%s"})",
                       row.patIndex, row.pidOrder, row.pidNum, row.pidType, row.referencePid, row.pgmNum,
                       rateText(row.pidRate).c_str(), row.scrambled, row.description.c_str());
    });
    return text;
}

std::string programListDocument(StreamModel& model) {
    const Sdt sdt = model.records.sdt();
    std::string text = printed(
        R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{)"
        R"("svcCount":"%d","derived":"%d","aggStreamRate":"%s","scrambledCount":"%d","pgms":[)",
        sdt.serviceCount(), sdt.actual(), rateText(sdt.aggregateRate()).c_str(), sdt.scrambledCount());
    addEntries(text, cut(sdt.serviceCount(), 60), "JSON PGM Overflow", model.console, [&](int k) {
        const Service service = sdt.service(k);
        return printed(R"({"pgmNum":"%d","patIndex":"%d","svcType":"%d","referencePID":"%d",)"
                       R"("pidCount":"%d","pgmRate":"%s","caFlag":"%d","allScrambled":"%d",)"
                       R"("svcProvider":"%s","svcName":"%s"})",
                       service.serviceId(), service.patIndex(), service.serviceType(), service.pmtPid(),
                       service.pidCount(), rateText(service.rate()).c_str(), service.caFlag(),
                       service.allScrambled(), service.providerName().c_str(), service.serviceName().c_str());
    });
    return text;
}

std::string programDetailDocument(StreamModel& model, int programIndex) {
    const Pmt pmt = model.records.pmt(programIndex);
    const Av av = model.records.av(programIndex);
    std::string text = printed(R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{)"
                               R"("pidCount":"%d","details":[)",
                               (av.videoPid() != 0 ? 1 : 0) + av.audioCount());
    text += printed(R"({"pidType":"PMT","pidNum":"%d","pgmNum":"%d"},)", pmt.pmtPid(), pmt.pgmNum());
    if (av.videoPid() != 0) {
        text += videoElement(pmt, av);
    }
    if (av.audioCount() != 0 || av.privateCount() != 0) {
        text += ",";
        text += elements(av.audioCount(), 12, [&](int t) { return audioElement(pmt, av, t); });
    }
    if (av.privateCount() != 0) {
        text += ",";
        text += elements(av.privateCount(), 12, [&](int p) {
            return printed(R"({"pidType":"PRIVATE","pidNum":"%d"})", pmt.privatePid(p));
        });
    }
    if (pmt.ecmCount() != 0) {
        text += ",";
        text += elements(pmt.ecmCount(), 6,
                         [&](int e) { return printed(R"({"pidType":"ECM","pidNum":"%d"})", pmt.ecmPid(e)); });
    }
    return text + tail;
}

std::string psiDocument(StreamModel& model, int pid) {
    const float rate = rateAt(model, placeOf(model, pid));
    switch (pid) {
    case 0:
        model.records.pat().putF32(800, rate);
        return patDocument(model);
    case 1:
        model.records.cat().putF32(56, rate);
        return catDocument(model);
    case 16:
        model.records.nit().putF32(56, rate);
        return nitDocument(model);
    case 17:
        model.records.sdt().putF32(5548, rate);
        return sdtDocument(model);
    case 18:
        model.records.eit().putF32(20, rate);
        return eitDocument(model);
    case 20:
        model.records.tdt().putF32(24, rate);
        return tdtDocument(model);
    default:
        model.console += printed("Unsupported PSI %d\n", pid);
        return "{}";
    }
}

} // namespace reference
