// Records of the parser board in a small text form, so that a test's input can be read.
//
//     PAT stream                      a new record, all zero
//         pidListCount 3
//         pidList 0 256..258          numbers, ranges, and 1000*4 for a repetition
//         programs.pmtPid 16 256      a column of a list of structures
//     PMT stream
//         slot 1                      the lines that follow belong to this entry
//             pgmNum 1
//     PAT tail from stream            a copy to be changed
//         bytes 1104 ff ff            raw bytes at an offset
//     PAT short from stream
//         length 600                  cut (or lengthened with zeros) to so many bytes
//     PAT wild
//         fill ff                     every byte
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace serviceTest {

struct Record {
    std::string topic; // as published
    std::string bytes;
};

// Records by their topic's short name and their own name: "PAT stream".
using RecordBook = std::map<std::string, Record>;

// The topic of a short name: "PAT" is "MPEG-STRUCT-PAT". Throws std::runtime_error for any other.
std::string topicName(std::string_view shortName);

// Whether a line opens a record: whether its first word is a topic's short name.
bool opensRecord(const std::vector<std::string>& words);

// Takes one line of the text form at a time and adds to the book.
class RecordReader {
  public:
    explicit RecordReader(RecordBook& filledBook) : book(filledBook) {}

    // Throws std::runtime_error with the reason when the line makes no sense.
    void readLine(const std::vector<std::string>& words);

  private:
    void open(const std::vector<std::string>& words);
    void setField(const std::vector<std::string>& words);
    void setNamedField(const std::vector<std::string>& words);

    RecordBook& book;
    Record* current = nullptr;
    std::string shortName;
    long entryIndex = -1; // -1: in the record's own fields
};

// The records of a file in the text form, empty lines and those that begin with # left out. Throws as
// RecordReader does.
RecordBook readRecordBook(const std::string& path);

// The words of a line. Words are parted by blanks; "a text in quotes" is one word, without its quotes.
std::vector<std::string> splitWords(std::string_view line);

} // namespace serviceTest
