// Sections whose CRC is right and whose inner lengths are not.
#include "tables/innerLengths.h"
#include "tables/psiTables.h"
#include "tables/psipSections.h"
#include "tables/siTables.h"

#include "streamWriter.h"

#include <bitstream/mpeg/psi.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace streamWriter;

// The section with the CRC that belongs to it.
Bytes sealed(Bytes section) {
    psi_set_crc(section.data());
    return section;
}

// The section cut to so many bytes, with the length and the CRC that belong to them.
Bytes cut(Bytes section, std::size_t size) {
    section.resize(size);
    psi_set_length(section.data(), static_cast<std::uint16_t>(size - PSI_HEADER_SIZE));
    return sealed(std::move(section));
}

// Reads a section as every table; it lies in memory of its own, so that whoever looks behind it is seen.
// Returns how many tables it is.
int readings(const Bytes& section) {
    const Bytes exact(section.begin(), section.end());
    if (!board::sectionIsSound(exact)) {
        return 0;
    }
    board::innerLengthsFit(exact);
    return board::readPat(exact).has_value() + board::readCat(exact).has_value() +
           board::readPmt(exact).has_value() + board::readSdt(exact).has_value() +
           board::readNit(exact).has_value() + board::readEit(exact).has_value() +
           board::readTime(exact).has_value() + board::readMgt(exact).has_value() +
           board::readVct(exact).has_value() + board::readStt(exact).has_value() +
           board::readPsipEit(exact, 18).has_value() + board::readEtt(exact).has_value();
}

// One section of every table, with every descriptor that is read.
std::vector<Bytes> sections() {
    const Bytes delivery(11, 0x11);
    const Bytes services = joined({serviceDescriptor(1, "Provider", "Name"), serviceDescriptor(2, "", "")});
    const Bytes network =
        joined({networkNameDescriptor("Netz"), descriptor(0x41, {0, 1, 1}), descriptor(0x43, delivery),
                descriptor(0x44, delivery), descriptor(0x5A, delivery)});
    const Bytes streams = joined({caDescriptor(0x500, 0x300), languageDescriptor("deu"),
                                  registrationDescriptor("AC-3"), descriptor(0x7C, {0x58})});
    const Bytes events =
        joined({shortEventDescriptor("deu", "Name", "Text"), shortEventDescriptor("eng", "", "")});
    const Bytes title =
        multipleStrings("eng", {{0, 0, {'N', 'a'}}, {0, 0x3F, {0, 'm'}}, {1, 0, {0x12, 0x34}}});
    const Bytes name = extendedNameDescriptor(title);
    return {
        pat(77, {{0, 16}, {5, 0x100}, {6, 0x200}}),
        cat(streams),
        pmt(5, 0x101, streams, {{0x03, 0x101, streams}, {0x06, 0x102, streams}}),
        sdt(77, 9, {{5, false, services}, {6, true, services}}),
        nit(1, network, {{77, 9, network}, {78, 9, network}}),
        eit(0x4E, 5, 77, 9, {{1, 60000, 0, 60, events}, {2, 60000, 60, 60, events}}),
        tot(60000, 10),
        mgt({{0x0100, 0x1D00}, {0x0200, 0x1E00}}),
        vct(0xC8, 77, {{"ONE", 77, 5, 1, 2, name}, {"TWO", 77, 6, 2, 2, joined({name, name})}}),
        vct(0xC9, 77, {{"ONE", 77, 5, 1, 2, name}}),
        stt(1'400'000'000, 18),
        psipEit(1, {{1, 1'400'000'000, 60, title}, {2, 1'400'000'060, 60, title}}),
        ett(1, 1, title),
    };
}

TEST(TableReaders, ReadEveryTableForWhatItIs) {
    for (const Bytes& section : sections()) {
        EXPECT_EQ(readings(section), 1) << int{section[0]};
    }
}

TEST(TableReaders, StayInsideASectionWhateverAByteOfItSays) {
    for (const Bytes& section : sections()) {
        int sound = 0;
        for (std::size_t at = PSI_HEADER_SIZE; at < section.size() - PSI_CRC_SIZE; ++at) {
            for (const int value :
                 {0x00, 0x01, 0x02, 0x7F, 0xF0, 0xFE, 0xFF, section[at] + 1, section[at] - 1}) {
                Bytes wrong = section;
                wrong[at] = static_cast<std::uint8_t>(value);
                sound += readings(sealed(wrong));
            }
        }
        EXPECT_GT(sound, 0) << int{section[0]};
    }
}

TEST(TableReaders, StayInsideASectionThatIsCut) {
    for (const Bytes& section : sections()) {
        for (std::size_t size = PSI_HEADER_SIZE_SYNTAX1 + PSI_CRC_SIZE; size < section.size(); ++size) {
            EXPECT_LE(readings(cut(section, size)), 1) << int{section[0]} << ' ' << size;
        }
    }
}

TEST(TableReaders, FindNothingWrongWithTheLengthsOfWholeTables) {
    for (const Bytes& section : sections()) {
        EXPECT_TRUE(board::innerLengthsFit(section)) << int{section[0]};
    }
}

TEST(TableReaders, TakeWhatIsWholeOfAPatWithAStrayByte) {
    Bytes programs = pat(77, {{1, 0x100}, {2, 0x101}});
    programs.insert(programs.end() - PSI_CRC_SIZE, 0);
    programs = cut(programs, programs.size());
    EXPECT_FALSE(board::innerLengthsFit(programs));
    const auto entries = board::readPat(programs);
    ASSERT_TRUE(entries);
    EXPECT_EQ(entries->size(), 2U);
}

// A descriptor that is longer than the loop that it stands in.
const Bytes overlong{0x52, 9, 1};

TEST(TableReaders, TakeWhatIsWholeOfAMapWithAnOverlongDescriptor) {
    const Bytes section = pmt(5, 0x101, {},
                              {{0x02, 0x101, {}},
                               {0x03, 0x102, joined({languageDescriptor("deu"), overlong})},
                               {0x03, 0x103, languageDescriptor("eng")}});
    EXPECT_FALSE(board::innerLengthsFit(section));
    const auto map = board::readPmt(section);
    ASSERT_TRUE(map);
    ASSERT_EQ(map->streams.size(), 3U);
    EXPECT_EQ(map->streams[1].language, "deu");
    EXPECT_EQ(map->streams[2].language, "eng");
}

TEST(TableReaders, TakeTheServicesBesideAnOverlongDescriptor) {
    const Bytes section = sdt(77, 9,
                              {{1, false, serviceDescriptor(1, "", "First")},
                               {2, false, overlong},
                               {3, false, serviceDescriptor(1, "", "Third")}});
    EXPECT_FALSE(board::innerLengthsFit(section));
    const auto table = board::readSdt(section);
    ASSERT_TRUE(table);
    ASSERT_EQ(table->services.size(), 3U);
    EXPECT_EQ(table->services[0].name, "First");
    EXPECT_EQ(table->services[2].name, "Third");
}

TEST(TableReaders, TakeNothingFromBeyondALoopThatIsLongerThanItsSection) {
    Bytes services = sdt(77, 9, {{4, false, {}}, {5, false, serviceDescriptor(1, "P", "N")}});
    services[20] += 1; // descriptors_loop_length of the second
    services = sealed(services);
    EXPECT_FALSE(board::innerLengthsFit(services));
    ASSERT_TRUE(board::readSdt(services));
    EXPECT_EQ(board::readSdt(services)->services.size(), 1U);
    Bytes map = pmt(5, 0x101, {}, {{0x03, 0x101, languageDescriptor("deu")}});
    map[11] = 0xFF; // program_info_length
    map = sealed(map);
    EXPECT_FALSE(board::innerLengthsFit(map));
    ASSERT_TRUE(board::readPmt(map));
    EXPECT_EQ(board::readPmt(map)->pcrPid, 0x101);
    EXPECT_TRUE(board::readPmt(map)->streams.empty());
    Bytes network = nit(1, networkNameDescriptor("Netz"), {{77, 9, {}}});
    network[9] += 2; // network_descriptors_length
    network = sealed(network);
    EXPECT_FALSE(board::innerLengthsFit(network));
    ASSERT_TRUE(board::readNit(network));
    EXPECT_TRUE(board::readNit(network)->part.streams.empty());
}

TEST(TableReaders, RefuseCountsThatAreLargerThanTheirSection) {
    Bytes channels = vct(0xC8, 77, {{"ONE", 77, 5, 1, 2, {}}});
    channels[9] += 1; // num_channels_in_section
    EXPECT_FALSE(board::readVct(sealed(channels)));
    Bytes guide = mgt({{0x0100, 0x1D00}});
    guide[10] += 1; // tables_defined
    EXPECT_FALSE(board::readMgt(sealed(guide)));
    Bytes events = psipEit(1, {{1, 1'400'000'000, 60, latinString("eng", "Name")}});
    events[19] += 10; // title_length
    EXPECT_FALSE(board::readPsipEit(sealed(events), 18));
}

TEST(TableReaders, RefuseAProtocolThatIsNotKnown) {
    Bytes time = stt(1'400'000'000, 18);
    EXPECT_TRUE(board::readStt(time));
    time[8] = 1; // protocol_version
    EXPECT_FALSE(board::readStt(sealed(time)));
}

TEST(TableReaders, ReadNoNamesWhoseLengthsLeaveTheirDescriptor) {
    const auto nameOf = [](const Bytes& content) {
        const auto table = board::readSdt(
            sdt(77, 9, {{5, false, joined({descriptor(0x48, content), descriptor(0x5F, Bytes(40, 'x'))})}}));
        return table ? table->services.at(0).provider + "|" + table->services.at(0).name : "unread";
    };
    EXPECT_EQ(nameOf({1, 1, 'P', 1, 'N'}), "P|N");
    EXPECT_EQ(nameOf({1, 1, 'P', 2, 'N'}), "|") << "a name beyond the end";
    EXPECT_EQ(nameOf({1, 200, 'P', 1, 'N'}), "|") << "a provider beyond the end";
    EXPECT_EQ(nameOf({1, 3, 'P', 1, 'N'}), "|") << "no place for a name's length";
    EXPECT_EQ(nameOf({1, 0, 0}), "|") << "empty names";
    EXPECT_EQ(nameOf({1}), "|");
    EXPECT_EQ(nameOf({}), "|");
}

TEST(TableReaders, ReadNoEventTextsWhoseLengthsLeaveTheirDescriptor) {
    const auto textsOf = [](const Bytes& content) {
        const auto table = board::readEit(
            eit(0x4E, 5, 77, 9,
                {{1, 60000, 0, 60, joined({descriptor(0x4D, content), descriptor(0x5F, Bytes(40, 'x'))})}}));
        return table ? table->events.at(0).name + "|" + table->events.at(0).description : "unread";
    };
    EXPECT_EQ(textsOf({'d', 'e', 'u', 1, 'N', 1, 'T'}), "N|T");
    EXPECT_EQ(textsOf({'d', 'e', 'u', 1, 'N', 2, 'T'}), "|");
    EXPECT_EQ(textsOf({'d', 'e', 'u', 255, 'N', 1, 'T'}), "|");
    EXPECT_EQ(textsOf({'d', 'e', 'u', 0, 0}), "|");
    EXPECT_EQ(textsOf({'d', 'e', 'u'}), "|");
    EXPECT_EQ(textsOf({'d'}), "|");
}

TEST(TableReaders, TakeShortDescriptorsForNothing) {
    const Bytes shortOnes = joined({descriptor(0x09, {5, 0, 0xE1}), descriptor(0x0A, {'d', 'e'}),
                                    descriptor(0x05, {'A', 'C', '-'}), descriptor(0x7C, {})});
    const auto map = board::readPmt(pmt(5, 0x101, shortOnes, {{0x06, 0x101, shortOnes}}));
    ASSERT_TRUE(map);
    EXPECT_TRUE(map->ecmPids.empty());
    ASSERT_EQ(map->streams.size(), 1U);
    EXPECT_EQ(map->streams[0].language, "");
    const auto systems = board::readCat(cat(shortOnes));
    ASSERT_TRUE(systems);
    EXPECT_TRUE(systems->empty());
}

// ISO/IEC 13818-1 ends a PAT at 1021 bytes, and streams do not always.
TEST(TableReaders, ReadAsManyProgramsAsASectionHolds) {
    std::vector<PatRow> rows;
    for (std::uint16_t k = 0; k < 1000; ++k) {
        rows.push_back({k, static_cast<std::uint16_t>(0x20 + k)});
    }
    const auto programs = board::readPat(pat(77, rows));
    ASSERT_TRUE(programs);
    EXPECT_EQ(programs->size(), rows.size());
    EXPECT_EQ(programs->back().program, 999);
}

TEST(TableReaders, TakeDigitsThatAreNotDecimalForNoTime) {
    Bytes time = tdt(60000, 10);
    ASSERT_TRUE(board::readTime(time));
    time[5] = 0x1A;
    time[6] = 0x2B;
    time[7] = 0x3C;
    EXPECT_FALSE(board::readTime(time));
}

} // namespace
