// The limit of writing a document piece by piece: it remembers the pieces of a document, constant texts and
// formatted values in turn, so that they can be copied one after the other with nothing left to format.
#pragma once

#include "documentWriters.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

class PieceWriter : public FormattedValues<PieceWriter> {
  public:
    void beginDocument(const char* name) {
        constant +=
            std::string(R"({"requestReply":"dataStream","dataStream":")") + name + "\",\"" + name + "\":{";
    }
    void endDocument() {
        constant += "}}";
        finishConstant();
    }
    void beginList(const char* key) {
        constant += std::string(",\"") + key + "\":[";
        firstEntry = true;
    }
    void endList() {
        constant += "]";
    }
    void beginEntry() {
        constant += firstEntry ? "{" : ",{";
        firstEntry = false;
        firstMember = true;
    }
    void endEntry() {
        constant += "}";
    }
    void text(const Key& key, const char* value) {
        constant += firstMember ? key.first : key.further;
        finishConstant();
        pieces.emplace_back(value);
        constant.push_back('"');
        firstMember = false;
    }

    // Copies all pieces, and a terminator behind them. Returns the text's length.
    std::size_t copyTo(char* out) const {
        char* next = out;
        for (const std::string& piece : pieces) {
            std::memcpy(next, piece.data(), piece.size());
            next += piece.size();
        }
        *next = '\0';
        return static_cast<std::size_t>(next - out);
    }

  private:
    void finishConstant() {
        pieces.push_back(std::exchange(constant, {}));
    }

    std::vector<std::string> pieces;
    std::string constant; // what stands between two values
    bool firstEntry = true;
    bool firstMember = true;
};
