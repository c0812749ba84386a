// The peers that write the same documents from the same shapes: the straightforward way with snprintf and
// strcat, Jansson, and RapidJSON.
//
// A writer takes the calls that RapidJSON's Writer takes, in the same order: StartObject, Key, String,
// StartArray, EndArray, EndObject.
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

    operator const char*() const {
        return name;
    }
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
    out.Key(keyOf<key>);
    out.String(textOf(scratch, member.value));
}

// Writers place their commas themselves; none of the documents measured has a stray one.
template <typename Writer>
void tell(Writer&, const shape::StrayComma&) {}

template <typename Writer, typename One, typename Other>
void tell(Writer& out, const shape::Either<One, Other>& either) {
    either.isOne ? tell(out, either.one) : tell(out, either.other);
}

template <typename Writer, typename... Parts>
void tellAll(Writer& out, const std::tuple<Parts...>& parts) {
    std::apply([&](const auto&... part) { (tell(out, part), ...); }, parts);
}

template <typename Writer, typename... Members>
void tell(Writer& out, const shape::Object<Members...>& object) {
    out.StartObject();
    tellAll(out, object.members);
    out.EndObject();
}

template <typename Writer, typename Block>
void tell(Writer& out, const shape::Optional<Block>& optional) {
    if (optional.isThere) {
        tell(out, optional.block);
    }
}
template <typename Writer, typename Shape>
void tell(Writer& out, const shape::Entries<Shape>& entries) {
    for (int k = 0; k < entries.count; ++k) {
        tell(out, entries.shape(k));
    }
}
template <typename Writer, typename Shape>
void tell(Writer& out, const shape::EntriesAfterCommas<Shape>& entries) {
    tell(out, shape::entries(entries.count, entries.shape));
}
template <typename Writer, Literal key, typename... Parts>
void tell(Writer& out, const shape::Blocks<key, Parts...>& blocks) {
    out.Key(keyOf<key>);
    out.StartArray();
    tellAll(out, blocks.parts);
    out.EndArray();
}

template <Literal key, typename Writer, typename List>
void tellList(Writer& out, const List& list) {
    tell(out,
         shape::blocks<key>(shape::entries(list.count, [&](int k) { return list.shape(list.entries[k]); })));
}
template <typename Writer, Literal key, Literal emptyWord, typename Entry, typename Shape>
void tell(Writer& out, const shape::List<key, emptyWord, Entry, Shape>& list) {
    tellList<key>(out, list);
}
template <typename Writer, Literal key, typename Entry, typename Shape>
void tell(Writer& out, const shape::LimitedList<key, Entry, Shape>& list) {
    tellList<key>(out, list);
}

template <typename Writer>
void beginDocument(Writer& out, const Key& key) {
    out.StartObject();
    out.Key("requestReply");
    out.String("dataStream");
    out.Key("dataStream");
    out.String(key.name);
    out.Key(key.name);
    out.StartObject();
}

template <typename Writer, Literal name, typename... Elements>
void tell(Writer& out, const shape::Document<name, Elements...>& document) {
    beginDocument(out, keyOf<name>);
    tellAll(out, document.elements);
    out.EndObject();
    out.EndObject();
}

// --- the writers -------------------------------------------------------------------------------------------

// RapidJSON's, as a type of ours, so that the functions above are found for it.
struct RapidJsonWriter : rapidjson::Writer<rapidjson::StringBuffer> {
    using Writer::Writer;
};

// Every piece is appended with strcat, which looks for the end of the text each time.
class PlainWriter {
  public:
    explicit PlainWriter(char* buffer) : out(buffer) {}

    void StartObject() {
        std::strcat(out, isFirst ? "{" : ",{");
        isFirst = true;
    }
    void EndObject() {
        std::strcat(out, "}");
        isFirst = false;
    }
    void StartArray() {
        std::strcat(out, key->list);
        isFirst = true;
    }
    void EndArray() {
        std::strcat(out, "]");
        isFirst = false;
    }
    void Key(const ::Key& next) {
        key = &next;
    }
    void String(const char* value) {
        std::strcat(out, std::exchange(isFirst, false) ? key->firstMember : key->furtherMember);
        std::strcat(out, value);
        std::strcat(out, "\"");
    }

    // The envelope is one piece.
    friend void beginDocument(PlainWriter& writer, const ::Key& name) {
        std::strcpy(writer.out, name.document);
        writer.isFirst = true;
    }

  private:
    char* out;
    const ::Key* key = nullptr;
    bool isFirst = true; // of the members or entries of what is open
};

// Builds the whole object, then dumps it.
class JanssonWriter {
  public:
    JanssonWriter() = default;
    ~JanssonWriter() {
        json_decref(opened[0]);
        std::free(dumped);
    }
    JanssonWriter(const JanssonWriter&) = delete;
    JanssonWriter& operator=(const JanssonWriter&) = delete;

    void StartObject() {
        open(json_object());
    }
    void EndObject() {
        --depth;
    }
    void StartArray() {
        open(json_array());
    }
    void EndArray() {
        --depth;
    }
    void Key(const char* next) {
        key = next;
    }
    void String(const char* value) {
        add(json_string(value));
    }
    const char* result() {
        return dumped = json_dumps(opened[0], JSON_COMPACT);
    }

  private:
    void open(json_t* value) {
        if (depth > 0) {
            add(value);
        }
        opened[depth++] = value;
    }
    void add(json_t* value) {
        json_t* innermost = opened[depth - 1];
        json_is_array(innermost) ? json_array_append_new(innermost, value)
                                 : json_object_set_new(innermost, key, value);
    }

    json_t* opened[5]{}; // from the whole object on
    int depth = 0;
    const char* key = nullptr;
    char* dumped = nullptr;
};
