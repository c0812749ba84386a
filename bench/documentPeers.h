// The peers that write the same documents from the same shapes: the straightforward way with snprintf and
// strcat, Jansson, and RapidJSON.
//
// A writer has
//   beginDocument(key), endDocument(), beginList(key), endList(), beginEntry(), endEntry()
//   comma(), between two entries
//   text(key, value), a member
#pragma once

#include "documents/documentShape.h"
#include "serviceNames.h"

#include <jansson.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

// --- telling a shape to a writer ---------------------------------------------------------------------------

// A key by itself, and in the texts that open what it names.
struct Key {
    const char* name;
    const char* firstMember;
    const char* furtherMember;
    const char* list;
    const char* document;
};
template <Literal key>
constexpr Key keyOf{
    key.text, joined<"\"", key, "\":\"">.text, joined<",\"", key, "\":\"">.text,
    joined<",\"", key, "\":[">.text,
    joined<R"({"requestReply":"dataStream","dataStream":")", key, R"(",")", key, R"(":{)">.text};

using Scratch = char[64];

template <typename Value>
const char* formatted(Scratch& scratch, const char* format, Value value) {
    std::snprintf(scratch, sizeof scratch, format, value);
    return scratch;
}

template <typename Number>
const char* textOf(Scratch& scratch, const shape::Decimal<Number>& value) {
    return formatted(scratch, "%d", static_cast<int>(value.number));
}
template <typename Number>
const char* textOf(Scratch& scratch, const shape::Hexadecimal<Number>& value) {
    return formatted(scratch, "0x%x", static_cast<unsigned>(value.number));
}
inline const char* textOf(Scratch& scratch, const shape::KilobitRate& value) {
    return formatted(scratch, "%8.3fKbps", static_cast<double>(value.rate) / 1000.0);
}
inline const char* textOf(Scratch& scratch, const shape::BitRate& value) {
    return value.rate > 1000000 ? formatted(scratch, "%8.3fMbps", static_cast<double>(value.rate) / 1000000)
                                : formatted(scratch, "%8.3fKbps", static_cast<double>(value.rate) / 1000);
}
inline const char* textOf(Scratch& scratch, const shape::PictureRate& value) {
    return formatted(scratch, "%6.2f", static_cast<double>(value.rate));
}
template <std::size_t width>
const char* textOf(Scratch&, const shape::Field<width>& value) {
    return value.text;
}
template <typename Names, typename Code>
const char* textOf(Scratch&, const shape::CodedValue<Names, Code>& value) {
    return nameOf(value.names, value.code).data();
}
inline const char* textOf(Scratch&, const shape::Name& value) {
    return value.text.data();
}
template <Literal text>
const char* textOf(Scratch&, const shape::Constant<text>&) {
    return text.text;
}

template <typename Writer, Literal key, typename Value>
void tell(Writer& out, const shape::Member<key, Value>& member) {
    Scratch scratch;
    out.text(keyOf<key>, textOf(scratch, member.value));
}

template <typename Writer>
void tell(Writer& out, const shape::StrayComma& comma) {
    if (comma.isThere) {
        out.comma();
    }
}

template <typename Writer, typename One, typename Other>
void tell(Writer& out, const shape::Either<One, Other>& either) {
    either.isOne ? tell(out, either.one) : tell(out, either.other);
}

template <typename Writer, typename... Parts>
void tellAll(Writer& out, const std::tuple<Parts...>& parts) {
    std::apply([&](const auto&... part) { (tell(out, part), ...); }, parts);
}

template <typename Writer, typename Shape>
void tellEntries(Writer& out, int count, const Shape& shape) {
    for (int k = 0; k < count; ++k) {
        if (k > 0) {
            out.comma();
        }
        tell(out, shape(k));
    }
}

template <typename Writer, typename... Members>
void tell(Writer& out, const shape::Object<Members...>& object) {
    out.beginEntry();
    tellAll(out, object.members);
    out.endEntry();
}

template <typename Writer, typename List>
void tellList(Writer& out, const Key& key, const List& list) {
    out.beginList(key);
    tellEntries(out, list.count, [&](int k) { return list.shape(list.entries[k]); });
    out.endList();
}
template <typename Writer, Literal key, Literal emptyWord, typename Entry, typename Shape>
void tell(Writer& out, const shape::List<key, emptyWord, Entry, Shape>& list) {
    tellList(out, keyOf<key>, list);
}
template <typename Writer, Literal key, typename Entry, typename Shape>
void tell(Writer& out, const shape::LimitedList<key, Entry, Shape>& list) {
    tellList(out, keyOf<key>, list);
}

template <typename Writer, typename Block>
void tell(Writer& out, const shape::Optional<Block>& optional) {
    if (optional.isThere) {
        tell(out, optional.block);
    }
}
template <typename Writer, typename Shape>
void tell(Writer& out, const shape::Entries<Shape>& entries) {
    tellEntries(out, entries.count, entries.shape);
}
template <typename Writer, typename Shape>
void tell(Writer& out, const shape::EntriesAfterCommas<Shape>& entries) {
    for (int k = 0; k < entries.count; ++k) {
        out.comma();
        tell(out, entries.shape(k));
    }
}
template <typename Writer, Literal key, typename... Parts>
void tell(Writer& out, const shape::Blocks<key, Parts...>& blocks) {
    out.beginList(keyOf<key>);
    tellAll(out, blocks.parts);
    out.endList();
}

template <typename Writer, Literal name, typename... Elements>
void tell(Writer& out, const shape::Document<name, Elements...>& document) {
    out.beginDocument(keyOf<name>);
    tellAll(out, document.elements);
    out.endDocument();
}

// --- the writers -------------------------------------------------------------------------------------------

// Every piece is appended with strcat, which looks for the end of the text each time.
class PlainWriter {
  public:
    explicit PlainWriter(char* buffer) : out(buffer) {}

    void beginDocument(const Key& key) {
        std::strcpy(out, key.document);
        isFirstMember = true;
    }
    void endDocument() {
        std::strcat(out, "}}");
    }
    void beginList(const Key& key) {
        std::strcat(out, key.list);
    }
    void endList() {
        std::strcat(out, "]");
    }
    void comma() {
        isAfterComma = true;
    }
    void beginEntry() {
        std::strcat(out, std::exchange(isAfterComma, false) ? ",{" : "{");
        isFirstMember = true;
    }
    void endEntry() {
        std::strcat(out, "}");
    }
    void text(const Key& key, const char* value) {
        std::strcat(out, std::exchange(isFirstMember, false) ? key.firstMember : key.furtherMember);
        std::strcat(out, value);
        std::strcat(out, "\"");
    }

  private:
    char* out;
    bool isAfterComma = false;
    bool isFirstMember = true;
};

// Builds the whole object, then dumps it.
class JanssonWriter {
  public:
    ~JanssonWriter() {
        json_decref(root);
        std::free(dumped);
    }
    JanssonWriter() = default;
    JanssonWriter(const JanssonWriter&) = delete;
    JanssonWriter& operator=(const JanssonWriter&) = delete;

    void beginDocument(const Key& key) {
        document = object = json_object();
        json_object_set_new(root, "requestReply", json_string("dataStream"));
        json_object_set_new(root, "dataStream", json_string(key.name));
        json_object_set_new(root, key.name, document);
    }
    void endDocument() {
        dumped = json_dumps(root, JSON_COMPACT);
    }
    void beginList(const Key& key) {
        list = json_array();
        json_object_set_new(document, key.name, list);
    }
    void endList() {
        object = document;
    }
    void comma() {}
    void beginEntry() {
        object = json_object();
        json_array_append_new(list, object);
    }
    void endEntry() {}
    void text(const Key& key, const char* value) {
        json_object_set_new(object, key.name, json_string(value));
    }
    const char* result() const {
        return dumped;
    }

  private:
    json_t* root = json_object();
    json_t* document = nullptr;
    json_t* list = nullptr;
    json_t* object = nullptr;
    char* dumped = nullptr;
};

// Streams into a buffer that keeps its memory from one document to the next.
class RapidJsonWriter {
  public:
    explicit RapidJsonWriter(rapidjson::StringBuffer& out) : buffer(out) {
        buffer.Clear();
    }

    void beginDocument(const Key& key) {
        writer.StartObject();
        writer.Key("requestReply");
        writer.String("dataStream");
        writer.Key("dataStream");
        writer.String(key.name);
        writer.Key(key.name);
        writer.StartObject();
    }
    void endDocument() {
        writer.EndObject();
        writer.EndObject();
    }
    void beginList(const Key& key) {
        writer.Key(key.name);
        writer.StartArray();
    }
    void endList() {
        writer.EndArray();
    }
    void comma() {}
    void beginEntry() {
        writer.StartObject();
    }
    void endEntry() {
        writer.EndObject();
    }
    void text(const Key& key, const char* value) {
        writer.Key(key.name);
        writer.String(value);
    }
    const char* result() const {
        return buffer.GetString();
    }

  private:
    rapidjson::StringBuffer& buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
};
