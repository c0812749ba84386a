#include "recordText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <span>
#include <stdexcept>

namespace serviceTest {
namespace {

enum class Form { u8, u16, u32, i32, f32, text };

// Where a field lies. A list has its elements every stride bytes.
struct Field {
    std::string_view name;
    std::size_t offset;
    Form form;
    std::size_t count = 1;
    std::size_t stride = 0; // of a text without a list: its width
};

// A record's repeated structure: "slot 3" is the fourth.
struct Entries {
    std::string_view name;
    std::size_t offset;
    std::size_t stride;
    long count;
    std::span<const Field> fields;
};

struct Layout {
    std::string_view shortName;
    std::string_view topic;
    std::size_t size;
    std::span<const Field> fields;
    Entries entries;
};

// The layouts are written down here a second time, apart from the service's own, so that a mistake in either
// is found.
constexpr std::array<Field, 10> patFields{{
    {"pidList", 0, Form::u16, 256, 2},
    {"programCount", 552, Form::i32},
    {"programs.pgmNum", 560, Form::u16, 60, 4},
    {"programs.pmtPid", 562, Form::u16, 60, 4},
    {"transportStreamId", 840, Form::u16},
    {"sectionProgramCount", 848, Form::u16},
    {"sectionPrograms.pgmNum", 856, Form::u16, 60, 4},
    {"sectionPrograms.pmtPid", 858, Form::u16, 60, 4},
    {"pidListCount", 1104, Form::u16},
    {"newStreamFlag", 1108, Form::i32},
}};
constexpr std::array<Field, 13> pmtSlotFields{{
    {"pgmNum", 10, Form::u16},
    {"pmtPid", 12, Form::u16},
    {"pcrPid", 14, Form::u16},
    {"ecmCount", 20, Form::u16},
    {"ecmPids", 22, Form::u16, 6, 2},
    {"videoPid", 34, Form::u16},
    {"videoStreamType", 36, Form::u16},
    {"audioCount", 44, Form::u16},
    {"audioPids", 48, Form::u16, 12, 2},
    {"audioCodings", 72, Form::u16, 12, 2},
    {"privateCount", 124, Form::u16},
    {"pvtPids", 128, Form::u16, 12, 2},
    {"audioLanguages", 208, Form::text, 12, 4},
}};
constexpr std::array<Field, 2> tsStatusFields{{
    {"absentPidRate", 248, Form::f32},
    {"rate", 264, Form::f32, 128, 16},
}};
constexpr std::array<Field, 20> avPgmSlotFields{{
    {"pgmNum", 2, Form::u16},
    {"pmtPid", 4, Form::u16},
    {"videoPid", 12, Form::u16},
    {"horizRes", 22, Form::u16},
    {"vertRes", 24, Form::u16},
    {"pictRate", 28, Form::f32},
    {"entropyFlag", 32, Form::u32},
    {"aspectRatio", 38, Form::u16},
    {"profile", 44, Form::u32},
    {"level", 48, Form::u32},
    {"videoScrambled", 56, Form::u16},
    {"audioCount", 64, Form::u16},
    {"audio.pid", 76, Form::u16, 12, 24},
    {"audio.bitRateIndex", 81, Form::u8, 12, 24},
    {"audio.sampleRateIndex", 82, Form::u8, 12, 24},
    {"audio.modeIndex", 83, Form::u8, 12, 24},
    {"audio.scrambled", 86, Form::u16, 12, 24},
    {"privateCount", 356, Form::u16},
    {"privatePids", 358, Form::u16, 12, 10},
    {"allScrambled", 478, Form::u16},
}};
constexpr std::array<Field, 6> sdtFields{{
    {"pid", 4, Form::u16},
    {"tableId", 6, Form::u16},
    {"transportStreamId", 8, Form::u16},
    {"originalNetworkId", 10, Form::u16},
    {"serviceCount", 12, Form::u16},
    {"actual", 14, Form::u16},
}};
constexpr std::array<Field, 8> sdtServiceFields{{
    {"serviceId", 0, Form::u16},
    {"serviceType", 2, Form::u8},
    {"pmtPid", 4, Form::u16},
    {"caFlag", 6, Form::u8},
    {"pidCount", 7, Form::u8},
    {"patIndex", 8, Form::u8},
    {"providerName", 18, Form::text, 1, 36},
    {"serviceName", 54, Form::text, 1, 38},
}};
constexpr std::array<Field, 4> catFields{{
    {"caCount", 6, Form::u16},
    {"tableId", 10, Form::u8},
    {"caEntries.caSystemId", 14, Form::u16, 10, 4},
    {"caEntries.caPid", 16, Form::u16, 10, 4},
}};
constexpr std::array<Field, 7> nitFields{{
    {"tableId", 6, Form::u16},
    {"networkId", 8, Form::u16},
    {"transportStreamId", 10, Form::u16},
    {"originalNetworkId", 12, Form::u16},
    {"descriptorType", 14, Form::u8},
    {"descriptorText", 15, Form::text, 1, 37},
    {"descriptorCount", 52, Form::u16},
}};
constexpr std::array<Field, 2> nitDescriptorFields{{
    {"descriptorType", 0, Form::u8},
    {"descriptorText", 1, Form::text, 1, 221},
}};
constexpr std::array<Field, 5> eitFields{{
    {"tableId", 6, Form::u16},
    {"serviceId", 8, Form::u16},
    {"transportStreamId", 10, Form::u16},
    {"originalNetworkId", 12, Form::u16},
    {"eventCount", 14, Form::u16},
}};
constexpr std::array<Field, 7> eitEventFields{{
    {"eventId", 0, Form::u16},
    {"startDateMjd", 2, Form::u16},
    {"startTime", 4, Form::text, 1, 12},
    {"duration", 16, Form::text, 1, 12},
    {"language", 28, Form::text, 1, 8},
    {"eventName", 36, Form::text, 1, 36},
    {"description", 72, Form::text, 1, 36},
}};
constexpr std::array<Field, 3> tdtFields{{
    {"dateMjd", 6, Form::u16},
    {"timeOfDay", 8, Form::text, 1, 12},
    {"tableId", 20, Form::u8},
}};

constexpr Entries noEntries{"", 0, 0, 0, {}};
constexpr std::array<Layout, 9> layouts{{
    {"PAT", "MPEG-STRUCT-PAT", 1240, patFields, noEntries},
    {"PMT", "MPEG-STRUCT-PMT", 27376, {}, {"slot", 0, 464, 59, pmtSlotFields}},
    {"TS-STATUS", "MPEG-STRUCT-TS-STATUS", 2308, tsStatusFields, noEntries},
    {"AVPGM", "MPEG-STRUCT-AVPGM", 29280, {}, {"slot", 0, 488, 60, avPgmSlotFields}},
    {"SDT", "MPEG-STRUCT-SDT", 5552, sdtFields, {"service", 16, 92, 60, sdtServiceFields}},
    {"CAT", "MPEG-STRUCT-CAT", 60, catFields, noEntries},
    {"NIT", "MPEG-STRUCT-NIT", 2280, nitFields, {"descriptor", 60, 222, 10, nitDescriptorFields}},
    {"EIT", "MPEG-STRUCT-EIT", 6504, eitFields, {"event", 24, 108, 60, eitEventFields}},
    {"TDT", "MPEG-STRUCT-TDT", 28, tdtFields, noEntries},
}};

const Layout* findLayout(std::string_view shortName) {
    const auto* layout = std::find_if(layouts.begin(), layouts.end(),
                                      [&](const Layout& row) { return row.shortName == shortName; });
    return layout == layouts.end() ? nullptr : layout;
}

const Layout& layoutOf(std::string_view shortName) {
    if (const Layout* layout = findLayout(shortName)) {
        return *layout;
    }
    throw std::runtime_error("no such topic: " + std::string(shortName));
}

// Numbers of a word: 7, 0x1f, -31, 1.5, 256..259 and 1000*4.
std::vector<double> numbersOf(const std::string& word) {
    if (const std::size_t dots = word.find(".."); dots != std::string::npos) {
        std::vector<double> range;
        for (long number = std::stol(word); number <= std::stol(word.substr(dots + 2)); ++number) {
            range.push_back(static_cast<double>(number));
        }
        return range;
    }
    const std::size_t star = word.find('*');
    const std::size_t times = star == std::string::npos ? 1 : std::stoul(word.substr(star + 1));
    return std::vector<double>(times, std::stod(word));
}

template <typename Value>
void store(std::string& bytes, std::size_t offset, Value value) {
    if (offset + sizeof value > bytes.size()) {
        throw std::runtime_error("outside the record");
    }
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

void storeNumber(std::string& bytes, std::size_t offset, Form form, double number) {
    const auto integer = static_cast<std::int64_t>(number);
    switch (form) {
    case Form::u8:
        return store(bytes, offset, static_cast<std::uint8_t>(integer));
    case Form::u16:
        return store(bytes, offset, static_cast<std::uint16_t>(integer));
    case Form::u32:
        return store(bytes, offset, static_cast<std::uint32_t>(integer));
    case Form::i32:
        return store(bytes, offset, static_cast<std::int32_t>(integer));
    case Form::f32:
        return store(bytes, offset, static_cast<float>(number));
    case Form::text:
        throw std::runtime_error("a text is no number");
    }
}

// A text may fill its whole width, and then has no zero byte behind it.
void storeText(std::string& bytes, std::size_t offset, std::size_t width, const std::string& text) {
    if (text.size() > width) {
        throw std::runtime_error("too long for its field: " + text);
    }
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), width, '\0');
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

void storeValues(std::string& bytes, std::size_t base, const Field& field,
                 std::span<const std::string> values) {
    std::size_t index = 0;
    for (const std::string& value : values) {
        if (field.form == Form::text) {
            storeText(bytes, base + field.offset + index++ * field.stride, field.stride, value);
            continue;
        }
        for (const double number : numbersOf(value)) {
            storeNumber(bytes, base + field.offset + index++ * field.stride, field.form, number);
        }
    }
    if (index > field.count) {
        throw std::runtime_error("too many values for " + std::string(field.name));
    }
}

char byteOf(const std::string& hexDigits) {
    return static_cast<char>(std::stoi(hexDigits, nullptr, 16));
}

} // namespace

std::string topicName(std::string_view shortName) {
    return std::string(layoutOf(shortName).topic);
}

bool opensRecord(const std::vector<std::string>& words) {
    return !words.empty() && findLayout(words.front()) != nullptr;
}

void RecordReader::readLine(const std::vector<std::string>& words) {
    if (opensRecord(words)) {
        open(words);
    } else if (current == nullptr) {
        throw std::runtime_error("a field outside a record");
    } else {
        setField(words);
    }
}

void RecordReader::open(const std::vector<std::string>& words) {
    const Layout& layout = layoutOf(words.at(0));
    Record record{std::string(layout.topic), std::string(layout.size, '\0')};
    if (words.size() == 4 && words[2] == "from") {
        record = book.at(words[0] + ' ' + words[3]);
    } else if (words.size() != 2) {
        throw std::runtime_error("a record is opened by TOPIC NAME or TOPIC NAME from OTHER");
    }
    shortName = words[0];
    entryIndex = -1;
    current = &(book[words[0] + ' ' + words[1]] = record);
}

void RecordReader::setField(const std::vector<std::string>& words) {
    std::string& bytes = current->bytes;
    if (words[0] == "fill") {
        std::fill(bytes.begin(), bytes.end(), byteOf(words.at(1)));
    } else if (words[0] == "length") {
        bytes.resize(std::stoul(words.at(1)));
    } else if (words[0] == "bytes") {
        std::size_t offset = std::stoul(words.at(1));
        for (const std::string& digits : std::span(words).subspan(2)) {
            store(bytes, offset++, byteOf(digits));
        }
    } else if (words[0] == layoutOf(shortName).entries.name) {
        entryIndex = std::stol(words.at(1));
    } else {
        setNamedField(words);
    }
}

void RecordReader::setNamedField(const std::vector<std::string>& words) {
    const Layout& layout = layoutOf(shortName);
    const Entries& entries = layout.entries;
    if (entryIndex >= entries.count) {
        throw std::runtime_error("no such entry");
    }
    const bool inEntry = entryIndex >= 0;
    const std::span<const Field> fields = inEntry ? entries.fields : layout.fields;
    const std::size_t base =
        inEntry ? entries.offset + static_cast<std::size_t>(entryIndex) * entries.stride : 0;
    const auto field =
        std::find_if(fields.begin(), fields.end(), [&](const Field& row) { return row.name == words[0]; });
    if (field == fields.end()) {
        throw std::runtime_error("no such field: " + words[0]);
    }
    storeValues(current->bytes, base, *field, std::span(words).subspan(1));
}

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    std::size_t at = line.find_first_not_of(' ');
    while (at != std::string_view::npos) {
        const bool quoted = line[at] == '"';
        const std::size_t start = quoted ? at + 1 : at;
        const std::size_t end = std::min(line.find(quoted ? '"' : ' ', start), line.size());
        words.emplace_back(line.substr(start, end - start));
        at = end < line.size() ? line.find_first_not_of(' ', end + 1) : std::string_view::npos;
    }
    return words;
}

RecordBook readRecordBook(const std::string& path) {
    std::ifstream file(path);
    RecordBook book;
    RecordReader reader(book);
    for (std::string line; std::getline(file, line);) {
        const std::vector<std::string> words = splitWords(line);
        if (!words.empty() && !words[0].starts_with('#')) {
            reader.readLine(words);
        }
    }
    return book;
}

} // namespace serviceTest
