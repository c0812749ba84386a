// Writes the shape of a document as one line of JSON, every value a string.
//
// A shape is taken apart from left to right. What is constant in it is not written at once but joined, at
// compile time, with what is constant behind it: the quote that ends one member, the comma and the next
// member's name are one piece in the text. pending is what has been joined so far.
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"

#include <cstdio>

namespace mpegfe {

template <typename Number>
void appendValue(DocumentText& text, const shape::Decimal<Number>& value) {
    appendNumber(text, value.number);
}
template <typename Number>
void appendValue(DocumentText& text, const shape::Hexadecimal<Number>& value) {
    appendHex(text, value.number);
}
inline void appendValue(DocumentText& text, const shape::BitRate& value) {
    appendRate(text, value.rate);
}
inline void appendValue(DocumentText& text, const shape::KilobitRate& value) {
    appendRateKbps(text, value.rate);
}
inline void appendValue(DocumentText& text, const shape::PictureRate& value) {
    appendPictureRate(text, value.rate);
}
template <std::size_t width>
void appendValue(DocumentText& text, const shape::Field<width>& value) {
    appendField(text, value.text);
}
template <typename Names, typename Code>
void appendValue(DocumentText& text, const shape::CodedValue<Names, Code>& value) {
    append(text, nameOf(value.names, value.code));
}
inline void appendValue(DocumentText& text, const shape::Name& value) {
    append(text, value.text);
}

template <typename Value>
concept Appendable = requires(DocumentText& text, const Value& value) {
    appendValue(text, value);
};

// A part behind another one of the same object.
template <typename Part>
struct Further {
    const Part& part;
};
template <typename Part>
Further(const Part&) -> Further<Part>;

template <Literal pending>
void writeParts(DocumentText& text) {
    if constexpr (!pending.view().empty()) {
        append(text, pending.view());
    }
}

template <Literal pending, Literal next, typename... Rest>
void writeParts(DocumentText& text, const shape::Constant<next>&, const Rest&... rest) {
    writeParts<joined<pending, next>>(text, rest...);
}

template <Literal pending, Appendable Value, typename... Rest>
void writeParts(DocumentText& text, const Value& value, const Rest&... rest) {
    writeParts<pending>(text);
    appendValue(text, value);
    writeParts<"">(text, rest...);
}

template <Literal pending, Literal key, typename Value, typename... Rest>
void writeParts(DocumentText& text, const shape::Member<key, Value>& member, const Rest&... rest) {
    writeParts<joined<pending, "\"", key, "\":\"">>(text, member.value, shape::Constant<"\"">{}, rest...);
}

template <Literal pending, typename Part, typename... Rest>
void writeParts(DocumentText& text, const Further<Part>& further, const Rest&... rest) {
    writeParts<joined<pending, ",">>(text, further.part, rest...);
}

template <Literal pending, typename... Rest>
void writeParts(DocumentText& text, const Further<shape::StrayComma>& further, const Rest&... rest) {
    writeParts<pending>(text, further.part, rest...);
}

template <Literal pending, typename... Rest>
void writeParts(DocumentText& text, const shape::StrayComma& comma, const Rest&... rest) {
    if (comma.isThere) {
        writeParts<joined<pending, ",">>(text, rest...);
    } else {
        writeParts<pending>(text, rest...);
    }
}

template <Literal pending, typename One, typename Other, typename... Rest>
void writeParts(DocumentText& text, const shape::Either<One, Other>& either, const Rest&... rest) {
    if (either.isOne) {
        writeParts<pending>(text, either.one, rest...);
    } else {
        writeParts<pending>(text, either.other, rest...);
    }
}

template <Literal pending, typename... Members, typename... Rest>
void writeParts(DocumentText& text, const shape::Object<Members...>& object, const Rest&... rest) {
    std::apply(
        [&](const auto& first, const auto&... further) {
            writeParts<joined<pending, "{">>(
                text, first, Further{further}..., shape::Constant<"}">{}, rest...);
        },
        object.members);
}

// The entries as shape(index) tells each, a comma between them.
template <typename Shape>
void writeSeparated(DocumentText& text, int count, const Shape& shape) {
    for (int k = 0; k < count; ++k) {
        if (k > 0) {
            append(text, ",");
        }
        writeParts<"">(text, shape(k));
    }
}

template <Literal pending, Literal key, Literal emptyWord, typename Entry, typename Shape, typename... Rest>
void writeParts(DocumentText& text, const shape::List<key, emptyWord, Entry, Shape>& list,
                const Rest&... rest) {
    if constexpr (!emptyWord.view().empty()) {
        if (list.isWord) {
            writeParts<pending>(text, shape::constant<key, emptyWord>(), rest...);
            return;
        }
    }
    writeParts<joined<pending, "\"", key, "\":[">>(text);
    writeSeparated(text, list.count, [&](int k) { return list.shape(list.entries[k]); });
    writeParts<"]">(text, rest...);
}

template <Literal pending, Literal key, typename Entry, typename Shape, Literal... rest>
void writeParts(DocumentText& text, const shape::LimitedList<key, Entry, Shape>& list,
                const shape::Constant<rest>&...) {
    constexpr auto tail = joined<"]", rest...>;
    writeParts<joined<pending, "\"", key, "\":[">>(text);
    text.end -= tail.view().size();
    for (int k = 0; k < list.count; ++k) {
        const std::size_t lengthBefore = textLength(text);
        if (k > 0) {
            append(text, ",");
        }
        const std::size_t entryStart = textLength(text);
        writeParts<"">(text, list.shape(list.entries[k]));
        const std::size_t length = textLength(text);
        const bool doesNotFit = text.truncated;
        const bool anotherMayNotFit = length + (length - entryStart) > listTextLimit;
        if (doesNotFit) {
            rewindText(text, lengthBefore);
        }
        if (doesNotFit || anotherMayNotFit) {
            std::puts(list.overflowLine);
            break;
        }
    }
    text.end += tail.view().size();
    writeParts<tail>(text);
}

template <Literal pending, typename Block, typename... Rest>
void writeParts(DocumentText& text, const shape::Optional<Block>& optional, const Rest&... rest) {
    writeParts<pending>(text);
    if (optional.isThere) {
        writeParts<"">(text, optional.block);
    }
    writeParts<"">(text, rest...);
}

template <Literal pending, typename Shape, typename... Rest>
void writeParts(DocumentText& text, const shape::Entries<Shape>& entries, const Rest&... rest) {
    writeParts<pending>(text);
    writeSeparated(text, entries.count, entries.shape);
    writeParts<"">(text, rest...);
}

template <Literal pending, typename Shape, typename... Rest>
void writeParts(DocumentText& text, const shape::EntriesAfterCommas<Shape>& entries, const Rest&... rest) {
    writeParts<pending>(text);
    for (int k = 0; k < entries.count; ++k) {
        writeParts<",">(text, entries.shape(k));
    }
    writeParts<"">(text, rest...);
}

template <Literal pending, Literal key, typename... Parts, typename... Rest>
void writeParts(DocumentText& text, const shape::Blocks<key, Parts...>& blocks, const Rest&... rest) {
    writeParts<joined<pending, "\"", key, "\":[">>(text);
    std::apply([&](const auto&... parts) { (writeParts<"">(text, parts), ...); }, blocks.parts);
    writeParts<"]">(text, rest...);
}

template <Literal pending, Literal name, typename... Elements>
void writeParts(DocumentText& text, const shape::Document<name, Elements...>& document) {
    constexpr auto envelope =
        joined<R"({"requestReply":"dataStream","dataStream":")", name, R"(",")", name, R"(":{)">;
    std::apply(
        [&](const auto& first, const auto&... further) {
            writeParts<envelope>(text, first, Further{further}..., shape::Constant<"}}">{});
        },
        document.elements);
}

// Writes the document and its terminator. Returns the text's length without it. Flat, so that the cursor
// stays in registers from end to end.
template <typename Shape>
[[gnu::flatten]] std::size_t writeDocument(const Shape& shape, DocumentBuffer& out) {
    DocumentText text = startText(out);
    writeParts<"">(text, shape);
    return finishText(text);
}

} // namespace mpegfe
