// The peers that write the same documents: the straightforward way with snprintf and strcat, Jansson, and
// RapidJSON.
#pragma once

#include "documentShapes.h"
#include "documents/documentText.h"
#include "serviceNames.h"

#include <jansson.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

inline void formatRateText(char (&out)[64], float rate) {
    if (rate > 1000000) {
        std::snprintf(out, sizeof out, "%8.3fMbps", static_cast<double>(rate) / 1000000);
    } else {
        std::snprintf(out, sizeof out, "%8.3fKbps", static_cast<double>(rate) / 1000);
    }
}

// Turns each kind of value into its text with snprintf and hands it to the writer, which knows how to store
// it.
template <typename Writer>
struct FormattedValues {
    void number(const Key& key, int value) {
        store(key, "%d", value);
    }
    void hex(const Key& key, unsigned value) {
        store(key, "0x%x", value);
    }
    void kilobits(const Key& key, float rate) {
        store(key, "%8.3fKbps", static_cast<double>(rate) / 1000.0);
    }
    void picture(const Key& key, float rate) {
        store(key, "%6.2f", static_cast<double>(rate));
    }
    void rate(const Key& key, float value) {
        formatRateText(scratch, value);
        writer().text(key, scratch);
    }

  private:
    Writer& writer() {
        return static_cast<Writer&>(*this);
    }

    template <typename Value>
    void store(const Key& key, const char* format, Value value) {
        std::snprintf(scratch, sizeof scratch, format, value);
        writer().text(key, scratch);
    }

    char scratch[64];
};

// Every piece is appended with strcat, which looks for the end of the text each time.
class PlainWriter : public FormattedValues<PlainWriter> {
  public:
    explicit PlainWriter(char* buffer) : out(buffer) {}

    void beginDocument(const char* name) {
        std::strcpy(out, "{\"requestReply\":\"dataStream\",\"dataStream\":\"");
        std::strcat(out, name);
        std::strcat(out, "\",\"");
        std::strcat(out, name);
        std::strcat(out, "\":{");
    }
    void endDocument() {
        std::strcat(out, "}}");
    }
    void beginList(const char* key) {
        std::strcat(out, ",\"");
        std::strcat(out, key);
        std::strcat(out, "\":[");
        firstEntry = true;
    }
    void endList() {
        std::strcat(out, "]");
    }
    void beginEntry() {
        std::strcat(out, firstEntry ? "{" : ",{");
        firstEntry = false;
        firstMember = true;
    }
    void endEntry() {
        std::strcat(out, "}");
    }
    void text(const Key& key, const char* value) {
        std::strcat(out, firstMember ? key.first : key.further);
        std::strcat(out, value);
        std::strcat(out, "\"");
        firstMember = false;
    }
    std::size_t length() const {
        return std::strlen(out);
    }

  private:
    char* out;
    bool firstEntry = true;
    bool firstMember = true;
};

// Builds the whole object, then dumps it.
class JanssonWriter : public FormattedValues<JanssonWriter> {
  public:
    ~JanssonWriter() {
        json_decref(root);
        std::free(dumped);
    }
    JanssonWriter() = default;
    JanssonWriter(const JanssonWriter&) = delete;
    JanssonWriter& operator=(const JanssonWriter&) = delete;

    void beginDocument(const char* name) {
        document = object = json_object();
        json_object_set_new(root, "requestReply", json_string("dataStream"));
        json_object_set_new(root, "dataStream", json_string(name));
        json_object_set_new(root, name, document);
    }
    void endDocument() {
        dumped = json_dumps(root, JSON_COMPACT);
    }
    void beginList(const char* key) {
        list = json_array();
        json_object_set_new(document, key, list);
    }
    void endList() {
        object = document;
    }
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
class RapidJsonWriter : public FormattedValues<RapidJsonWriter> {
  public:
    explicit RapidJsonWriter(rapidjson::StringBuffer& out) : buffer(out) {
        buffer.Clear();
    }

    void beginDocument(const char* name) {
        writer.StartObject();
        writer.Key("requestReply");
        writer.String("dataStream");
        writer.Key("dataStream");
        writer.String(name);
        writer.Key(name);
        writer.StartObject();
    }
    void endDocument() {
        writer.EndObject();
        writer.EndObject();
    }
    void beginList(const char* key) {
        writer.Key(key);
        writer.StartArray();
    }
    void endList() {
        writer.EndArray();
    }
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
