#include "documents/documentReader.h"

#include "documents/documentShapes.h"
#include "documents/valueText.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace manager {
namespace {

constexpr std::string_view head = R"({"requestReply":"dataStream","dataStream":")";
constexpr std::string_view elementHead = R"({"pidType":")"; // of a program detail
constexpr std::string_view tail = "}}";

// What the reader and its look-ahead have in common: a place in the text, and the values that are no texts of
// the stream. After skipTo(KEY), members are passed over without a look at the text up to this one.
class Scanner {
  public:
    Scanner(std::string_view document, std::size_t start) : bytes(document), at(start) {}

    bool number(std::string_view key, int& value) {
        return member(key, "a whole number", value, readNumber);
    }
    bool hex(std::string_view key, int& value) {
        return member(key, "a hexadecimal number", value, readHex);
    }
    bool rate(std::string_view key, double& value) {
        return member(key, "a rate", value, readRate);
    }
    bool decimal(std::string_view key, double& value) {
        return member(key, "a number", value, readDecimal);
    }
    bool bitRate(std::string_view key, std::optional<int>& value) {
        return member(key, "an audio bit rate", value, readBitRate);
    }
    bool sampleRate(std::string_view key, std::optional<int>& value) {
        return member(key, "a sampling rate", value, readSampleRate);
    }
    bool word(std::string_view key, std::string& value) {
        return member(key, "a word", value, [](std::string_view found, std::string& kept) {
            kept = found;
            return true;
        });
    }

    // How far it has come.
    std::size_t place() const {
        return at;
    }

    bool take(std::string_view piece) {
        if (!bytes.substr(at).starts_with(piece)) {
            return false;
        }
        at += piece.size();
        return true;
    }

    // Whether there was any.
    bool takeCommas() {
        const std::size_t start = at;
        at = std::min(bytes.find_first_not_of(',', at), bytes.size());
        return at != start;
    }

    bool closeObject() {
        takeCommas();
        return take("}") || fail("the object's end");
    }

    bool closeDocument() {
        return (take(tail) && at == bytes.size()) || fail("the document's end");
    }

    // Nothing is read behind a failure, so the last one says where reading ended.
    bool fail(std::string_view expected, std::string_view ofWhat = {}) {
        what = expected;
        subject = ofWhat;
        return false;
    }

    ReadError error() const {
        std::string expected(what);
        if (!subject.empty()) {
            expected.append(1, '"').append(subject).append(1, '"');
        }
        return {expected, at};
    }

  protected:
    // A member's name, and the comma before it, unless the object has just begun.
    bool open(std::string_view key) {
        const std::size_t start = at;
        const bool separated = (at > 0 && bytes[at - 1] == '{') || take(",");
        if (separated && take("\"") && take(key) && take("\":")) {
            return true;
        }
        at = start;
        return fail({}, key);
    }

    bool openText(std::string_view key) {
        return open(key) && (take("\"") || fail("a text"));
    }

    // Whether this member is passed over.
    bool skips(std::string_view key) {
        if (skipped.empty()) {
            return false;
        }
        if (key == skipped) {
            skipped = {};
        }
        return true;
    }

    void skipTo(std::string_view key) {
        skipped = key;
    }

    std::string_view all() const {
        return bytes;
    }
    std::string_view rest() const {
        return bytes.substr(at);
    }
    void moveTo(std::size_t place) {
        at = place;
    }

  private:
    template <typename Value, typename Read>
    bool member(std::string_view key, std::string_view kind, Value& value, Read read) {
        if (skips(key)) {
            return true;
        }
        if (!openText(key)) {
            return false;
        }
        const std::string_view near = bytes.substr(at, longestValueText + 1);
        const std::size_t length = near.find('"');
        if (length == std::string_view::npos || !read(near.substr(0, length), value)) {
            return fail(kind);
        }
        at += length + 1;
        return true;
    }

    std::string_view bytes;
    std::size_t at;
    std::string_view skipped;
    std::string_view what;
    std::string_view subject;
};

// Looks whether the shape goes on behind the end of a text: from its closing quotation mark up to the opening
// one of the next text, or up to the end of the list, of the program's element or of the document.
class LookAhead : public Scanner {
  public:
    LookAhead(std::string_view document, std::size_t quote) : Scanner(document, quote) {}

    // Texts are members of a document, of a list's entry, or of an element of a program detail.

    template <typename Body>
    bool document(std::string_view key) {
        if (!leavesText(key)) {
            return false;
        }
        Body body;
        return shape::describe(*this, body) ? closeDocument() : found;
    }

    template <typename Entry>
    bool entry(std::string_view key) {
        if (!leavesText(key)) {
            return false;
        }
        Entry entry;
        return shape::describe(*this, entry) ? closeObject() && furtherEntry<Entry>() : found;
    }

    template <typename Element>
    bool element(std::string_view key) {
        if (!leavesText(key)) {
            return false;
        }
        Element element;
        if (!shape::describe(*this, element) || !closeObject()) {
            return false;
        }
        takeCommas();
        return take(elementHead) || (take("]") && closeDocument());
    }

    // Which text begins where a look that was right has come; none at the document's end.
    std::string_view nextText() const {
        return next;
    }

    // What describe finds on its way.

    bool text(std::string_view key, const std::string& /*value*/) {
        if (skips(key)) {
            return true;
        }
        found = openText(key);
        next = key;
        return false;
    }

    template <typename Entry>
    bool list(std::string_view key, const std::vector<Entry>& /*entries*/, std::string_view /*empty*/ = {}) {
        found = open(key) && (take("\"") || take("["));
        return false;
    }

    template <typename Parts>
    bool elements(std::string_view key, const Parts& /*parts*/) {
        found = open(key);
        return false;
    }

  private:
    bool leavesText(std::string_view key) {
        skipTo(key);
        return take("\"") && (rest().starts_with(',') || rest().starts_with('}'));
    }

    template <typename Entry>
    bool furtherEntry() {
        const bool separated = takeCommas();
        if (take("]")) {
            return closeDocument();
        }
        Entry further;
        return separated && take("{") && (shape::describe(*this, further) || found);
    }

    bool found = false; // the next text, or the list
    std::string_view next;
};

// Lists the texts of an object.
struct TextKeys {
    template <typename... Ignored>
    static bool number(const Ignored&... /*ignored*/) {
        return true;
    }
    template <typename... Ignored>
    static bool hex(const Ignored&... /*ignored*/) {
        return true;
    }
    template <typename... Ignored>
    static bool rate(const Ignored&... /*ignored*/) {
        return true;
    }
    template <typename... Ignored>
    static bool word(const Ignored&... /*ignored*/) {
        return true;
    }
    bool text(std::string_view key, const std::string& /*value*/) {
        keys.push_back(key);
        return true;
    }

    std::vector<std::string_view> keys;
};

// Where the texts of a list's entries can end at the last, so that the rest of the document can be read from
// there. A text can end at any earlier place from which the shape leads to a text that begins before its own
// last end. So a text that pretends to be the next entry misleads nobody who cannot go on from there.
class TextEnds {
  public:
    // No texts.
    TextEnds() = default;

    template <typename Entry>
    static TextEnds of(std::string_view bytes) {
        TextKeys texts;
        Entry entry;
        shape::describe(texts, entry);
        TextEnds ends;
        std::size_t quote = bytes.size();
        while (ends.last.size() < texts.keys.size() && quote > 0 &&
               (quote = bytes.rfind('"', quote - 1)) != std::string_view::npos) {
            for (const std::string_view key : texts.keys) {
                LookAhead ahead(bytes, quote);
                if (ends.of(key) == nothing && ahead.entry<Entry>(key) && ends.allow(ahead)) {
                    ends.last.emplace_back(key, quote);
                }
            }
        }
        return ends;
    }

    // Whether the document can be read from where a look ahead has come.
    bool allow(const LookAhead& ahead) const {
        const std::size_t end = of(ahead.nextText());
        return ahead.nextText().empty() || (end != nothing && end >= ahead.place());
    }

  private:
    static constexpr std::size_t nothing = std::string_view::npos;

    std::size_t of(std::string_view key) const {
        for (const auto& [text, end] : last) {
            if (text == key) {
                return end;
            }
        }
        return nothing;
    }

    std::vector<std::pair<std::string_view, std::size_t>> last;
};

class Reader : public Scanner {
  public:
    explicit Reader(std::string_view document) : Scanner(document, 0) {}

    template <typename Body>
    bool body(Body& kept) {
        goesOn = &LookAhead::document<Body>;
        return shape::describe(*this, kept) && closeDocument();
    }

    // Quotation marks belong to the text until the shape goes on behind one.
    bool text(std::string_view key, std::string& value) {
        if (!openText(key)) {
            return false;
        }
        const std::size_t start = place();
        for (std::size_t end = all().find('"', start); end != std::string_view::npos;
             end = all().find('"', end + 1)) {
            LookAhead ahead(all(), end);
            if ((ahead.*goesOn)(key) && textEnds.allow(ahead)) {
                value = all().substr(start, end - start);
                moveTo(end + 1);
                return true;
            }
        }
        return fail("an end of the text ", key);
    }

    template <typename Entry>
    bool list(std::string_view key, std::vector<Entry>& entries, std::string_view empty = {}) {
        if (!open(key)) {
            return false;
        }
        if (!empty.empty() && take("\"")) {
            return (take(empty) && take("\"")) || fail("the word ", empty);
        }
        goesOn = &LookAhead::entry<Entry>;
        textEnds = TextEnds::of<Entry>(all());
        if (!take("[")) {
            return fail("a list");
        }
        while (!take("]")) {
            if (!take("{")) {
                return fail("an entry or the list's end");
            }
            if (!shape::describe(*this, entries.emplace_back()) || !closeObject()) {
                return false;
            }
            if (!takeCommas() && !rest().starts_with(']')) {
                return fail("a comma or the list's end");
            }
        }
        return true;
    }

    // The elements of a program detail, in whatever commas stand between them.
    template <typename Parts>
    bool elements(std::string_view key, const Parts& parts) {
        if (!open(key) || !(take("[") || fail("a list")) || !parts(*this)) {
            return false;
        }
        takeCommas();
        return take("]") || fail("an element in its order or the list's end");
    }

    template <typename Element>
    bool element(std::string_view type, Element& value) {
        if (!startsElement(type)) {
            return fail("an element of the type ", type);
        }
        goesOn = &LookAhead::element<Element>;
        take(elementHead);
        take(type);
        take("\"");
        return shape::describe(*this, value) && closeObject();
    }

    template <typename Element>
    bool optionalElement(std::string_view type, std::optional<Element>& value) {
        return !startsElement(type) || element(type, value.emplace());
    }

    template <typename Element>
    bool manyElements(std::string_view type, std::vector<Element>& values) {
        while (startsElement(type)) {
            if (!element(type, values.emplace_back())) {
                return false;
            }
        }
        return true;
    }

  private:
    // Passes over the commas before it.
    bool startsElement(std::string_view type) {
        takeCommas();
        std::string_view element = rest();
        if (!element.starts_with(elementHead)) {
            return false;
        }
        element.remove_prefix(elementHead.size());
        return element.starts_with(type) && element.substr(type.size()).starts_with('"');
    }

    bool (LookAhead::*goesOn)(std::string_view textKey) = nullptr;
    TextEnds textEnds;
};

struct Row {
    std::string_view dataStream;
    bool (*read)(Reader& reader, Document& document);
};

template <typename Body>
constexpr Row rowOf(std::string_view dataStream) {
    return {dataStream,
            [](Reader& reader, Document& document) { return reader.body(document.emplace<Body>()); }};
}

constexpr std::array rows{rowOf<PidList>("pidData"),
                          rowOf<ProgramList>("pgmData"),
                          rowOf<ProgramDetail>("pgmDetail"),
                          rowOf<Pat>("PAT"),
                          rowOf<Cat>("CAT"),
                          rowOf<Nit>("NIT"),
                          rowOf<Sdt>("SDT"),
                          rowOf<Eit>("EIT"),
                          rowOf<Tdt>("TDT")};

bool readEnvelope(Reader& reader, std::string_view dataStream) {
    return (reader.take(head) && reader.take(dataStream) && reader.take("\",\"") && reader.take(dataStream) &&
            reader.take("\":{")) ||
           reader.fail("the head of a document");
}

} // namespace

std::variant<Document, ReadError> readDocument(std::string_view text) {
    if (text == "{}") {
        return Document(EmptyDocument{});
    }
    const std::string_view dataStream = documentStream(text);
    const auto row =
        std::ranges::find_if(rows, [&](const Row& candidate) { return candidate.dataStream == dataStream; });
    if (row == rows.end()) {
        return ReadError{"the head of a document", 0};
    }
    Reader reader(text);
    Document document;
    if (!readEnvelope(reader, dataStream) || !row->read(reader, document)) {
        return reader.error();
    }
    return document;
}

std::string_view documentStream(std::string_view document) {
    if (!document.starts_with(head)) {
        return {};
    }
    document.remove_prefix(head.size());
    return document.substr(0, document.find('"'));
}

std::string describe(const ReadError& error) {
    return "expected " + error.expected + " at byte " + std::to_string(error.offset);
}

} // namespace manager
