// The words in which a document is told: its members with their names, the kind of each value, and its lists.
// A shape holds no text. It refers to the record that it shows, which must outlive it; shapeText.h writes it.
//
//   document<"TDT">(hex<"tableID">(record.tableId), number<"Date:MJD">(record.dateMjd), ...)
#pragma once

#include "documents/codedValues.h"
#include "documents/literal.h"
#include "support/boundedText.h"

#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>

namespace mpegfe::shape {

// --- members: a name and a value
// -----------------------------------------------------------------------------

template <Literal key, typename Value>
struct Member {
    Value value;
};

// What the values are. Number is a reference where the number is a record's own, so that it is read when it
// is written and not kept until then.
template <typename Number>
struct Decimal {
    Number number;
};
template <typename Number>
struct Hexadecimal {
    Number number;
};
struct BitRate {
    const float& rate;
};
struct KilobitRate {
    const float& rate;
};
struct PictureRate {
    const float& rate;
};
template <std::size_t width>
struct Field {
    const char (&text)[width];
};
template <typename Names, typename Code>
struct CodedValue {
    const Names& names;
    const Code& code;
};
struct Name {
    std::string_view text;
};
template <Literal text>
struct Constant {};

// An integer in decimal.
template <Literal key, typename Number>
constexpr Member<key, Decimal<Number>> number(Number&& value) {
    return {{std::forward<Number>(value)}};
}

// An integer in hexadecimal: "0x2f".
template <Literal key, typename Number>
constexpr Member<key, Hexadecimal<Number>> hex(Number&& value) {
    return {{std::forward<Number>(value)}};
}

// A rate in bit/s, in Mbps above 1000000 and in Kbps else.
template <Literal key>
constexpr Member<key, BitRate> rate(const float& value) {
    return {{value}};
}

// A rate in bit/s, always in Kbps.
template <Literal key>
constexpr Member<key, KilobitRate> rateKbps(const float& value) {
    return {{value}};
}

// Pictures per second.
template <Literal key>
constexpr Member<key, PictureRate> pictureRate(const float& value) {
    return {{value}};
}

// A text field, up to its zero byte or its width.
template <Literal key, std::size_t width>
constexpr Member<key, Field<width>> field(const char (&text)[width]) {
    return {{text}};
}

// The name of a code in a table by index.
template <Literal key, typename Names, typename Code>
constexpr Member<key, CodedValue<Names, Code>> coded(const Names& names, const Code& code) {
    return {{names, code}};
}

// A text that is found elsewhere.
template <Literal key>
constexpr Member<key, Name> name(std::string_view text) {
    return {{text}};
}

// A text that is always the same.
template <Literal key, Literal text>
constexpr Member<key, Constant<text>> constant() {
    return {};
}

// --- what members make up
// --------------------------------------------------------------------------------------

template <typename... Members>
struct Object {
    std::tuple<Members...> members;
};
template <Literal key, Literal emptyWord, typename Entry, typename Shape>
struct List {
    const Entry* entries;
    int count;
    bool isWord;
    Shape shape;
};
template <Literal key, typename Entry, typename Shape>
struct LimitedList {
    const Entry* entries;
    int count;
    const char* overflowLine;
    Shape shape;
};
template <Literal name, typename... Elements>
struct Document {
    std::tuple<Elements...> elements;
};

// Members in braces, a comma between them.
template <typename... Members>
constexpr Object<Members...> object(const Members&... members) {
    return {{members...}};
}

// An array of the first count entries of a record, each as shape(entry) tells it. With a count of 0 it is the
// text emptyWord instead, where there is one.
template <Literal key, Literal emptyWord = "", typename Entry, std::size_t extent, typename Count,
          typename Shape>
constexpr List<key, emptyWord, Entry, Shape> list(const Entry (&entries)[extent], Count count, Shape shape) {
    return {entries, clampCount(count, static_cast<int>(extent)), count == 0, shape};
}

// An array that stops short of the end of the document's buffer, the last of its document. When one more
// entry as long as the last would pass listTextLimit characters, overflowLine is printed and no more entries
// are written, also when that was the last one. An entry that is so much longer than the one before it that
// it does not fit is taken back.
template <Literal key, typename Entry, typename Shape>
constexpr LimitedList<key, Entry, Shape> limitedList(const Entry* entries, int count,
                                                     const char* overflowLine, Shape shape) {
    return {entries, count, overflowLine, shape};
}

// The whole document with its envelope.
template <Literal name, typename... Elements>
constexpr Document<name, Elements...> document(const Elements&... elements) {
    return {{elements...}};
}

// --- where documents are irregular
// -----------------------------------------------------------------------------

template <typename One, typename Other>
struct Either {
    bool isOne;
    One one;
    Other other;
};
struct StrayComma {
    bool isThere;
};
template <typename Block>
struct Optional {
    bool isThere;
    Block block;
};
template <typename Shape>
struct Entries {
    int count;
    Shape shape;
};
template <typename Shape>
struct EntriesAfterCommas {
    int count;
    Shape shape;
};
template <Literal key, typename... Parts>
struct Blocks {
    std::tuple<Parts...> parts;
};

// One of two members.
template <typename One, typename Other>
constexpr Either<One, Other> either(bool isOne, const One& one, const Other& other) {
    return {isOne, one, other};
}

// A comma that separates nothing. Clients rely on it.
constexpr StrayComma strayComma(bool isThere = true) {
    return {isThere};
}

// An array in which no comma is written but those that its parts bring along.
template <Literal key, typename... Parts>
constexpr Blocks<key, Parts...> blocks(const Parts&... parts) {
    return {{parts...}};
}

// Parts of blocks: one that may be missing; count of them as shape(index) tells each, a comma between them or
// in front of each.
template <typename Block>
constexpr Optional<Block> optional(bool isThere, const Block& block) {
    return {isThere, block};
}
template <typename Shape>
constexpr Entries<Shape> entries(int count, Shape shape) {
    return {count, shape};
}
template <typename Shape>
constexpr EntriesAfterCommas<Shape> entriesAfterCommas(int count, Shape shape) {
    return {count, shape};
}

} // namespace mpegfe::shape
