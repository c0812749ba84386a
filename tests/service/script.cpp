#include "script.h"

#include "../support/acknowledgement.h"
#include "recordText.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace serviceTest {
namespace {

constexpr std::string_view closingRequest = R"({"dataStream":"end of script"})";

// One line of a script.
struct Line {
    int number = 0;
    bool indented = false;
    std::string text;
    std::vector<std::string> words;
};

std::vector<Line> readLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<Line> lines;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        const std::size_t start = line.find_first_not_of(' ');
        if (start != std::string::npos && line[start] != '#') {
            lines.push_back({number, start > 0, line.substr(start), splitWords(line)});
        }
    }
    return lines;
}

std::ptrdiff_t lineCount(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

template <typename Element>
Element takeFront(std::deque<Element>& queue) {
    Element element = std::move(queue.front());
    queue.pop_front();
    return element;
}

void requireEqual(const std::string& what, const std::string& expected, const std::string& actual) {
    if (expected != actual) {
        throw std::runtime_error(what + ": expected " + expected + ", heard " + actual);
    }
}

// A script being played.
class Player {
  public:
    Player(ServiceRun& playedRun, RecordBook records, std::string expected)
        : run(playedRun), book(std::move(records)), expectedTranscript(std::move(expected)) {}

    void play(const std::vector<Line>& lines);

    bool terminates = false;       // the service is to be ended by SIGTERM where it waits
    bool closed = false;           // the closing request was answered
    std::string heard;             // what the script took from the wire
    std::string heardAfterConsole; // the part of it that no console tells any more

  private:
    using Verb = void (Player::*)(const Line&);
    struct VerbRow {
        std::string_view name;
        Verb verb;
    };
    static const std::array<VerbRow, 27> verbs;

    void step(const Line& line);
    void startPeersAndService();
    void finish();
    std::string partOf(const std::string& word);

    void without(const Line& line);
    void starts(const Line& line);
    void stops(const Line& line);
    void request(const Line& line);
    void queue(const Line& line);
    void requestParts(const Line& line);
    void acknowledged(const Line& line);
    void subscribed(const Line& line);
    void unsubscribed(const Line& line);
    void instruction(const Line& line);
    void hearsInstruction(const Line& line);
    void answerInstruction(const Line& line);
    void lost(const Line& line);
    void publish(const Line& line);
    void publishParts(const Line& line);
    void document(const Line& line);
    void answer(const Line& line);
    void pause(const Line& line);
    void console(const Line& line);
    void closeConsole(const Line& line);
    void interrupt(const Line& line);
    void freeze(const Line& line);
    void thaw(const Line& line);
    void sameDescriptors(const Line& line);
    void descriptorLimit(const Line& line);
    void endsWaiting(const Line& line);
    void terminated(const Line& line);

    void note(const std::string& line);

    ServiceRun& run;
    RecordBook book;
    std::string expectedTranscript;
    bool started = false;
    bool consoleOpen = true;
    bool wantsTrufios = true;
    bool wantsParser = true;
    bool waits = false;
    std::uint16_t heardInstruction = 0;
    std::optional<std::size_t> descriptors;
};

constexpr std::array<Player::VerbRow, 27> Player::verbs{{
    {"without", &Player::without},
    {"starts", &Player::starts},
    {"stops", &Player::stops},
    {"request", &Player::request},
    {"queue", &Player::queue},
    {"request-parts", &Player::requestParts},
    {"acknowledged", &Player::acknowledged},
    {"subscribed", &Player::subscribed},
    {"unsubscribed", &Player::unsubscribed},
    {"instruction", &Player::instruction},
    {"hears-instruction", &Player::hearsInstruction},
    {"answer-instruction", &Player::answerInstruction},
    {"lost", &Player::lost},
    {"publish", &Player::publish},
    {"publish-parts", &Player::publishParts},
    {"document", &Player::document},
    {"answer", &Player::answer},
    {"pause", &Player::pause},
    {"console", &Player::console},
    {"close-console", &Player::closeConsole},
    {"interrupt", &Player::interrupt},
    {"freeze", &Player::freeze},
    {"thaw", &Player::thaw},
    {"same-descriptors", &Player::sameDescriptors},
    {"descriptor-limit", &Player::descriptorLimit},
    {"ends-waiting", &Player::endsWaiting},
    {"terminated", &Player::terminated},
}};

// What follows the first word of a line, as it stands.
std::string restOf(const Line& line) {
    const std::size_t start = line.text.find(' ');
    return start == std::string::npos ? "" : line.text.substr(start + 1);
}

void Player::play(const std::vector<Line>& lines) {
    RecordReader records(book);
    for (const Line& line : lines) {
        try {
            if (line.indented || opensRecord(line.words)) {
                records.readLine(line.words);
            } else {
                step(line);
            }
        } catch (const std::exception& trouble) {
            throw std::runtime_error("script line " + std::to_string(line.number) + " (" + line.text +
                                     "): " + trouble.what());
        }
    }
    startPeersAndService();
    finish();
}

void Player::step(const Line& line) {
    const auto* row = std::find_if(verbs.begin(), verbs.end(),
                                   [&](const VerbRow& candidate) { return candidate.name == line.words[0]; });
    if (row == verbs.end()) {
        throw std::runtime_error("no such verb");
    }
    if (row->name != "without") {
        startPeersAndService();
    }
    (this->*row->verb)(line);
}

void Player::startPeersAndService() {
    if (started) {
        return;
    }
    started = true;
    if (wantsTrufios) {
        run.startTrufios();
    }
    if (wantsParser) {
        run.startParser();
    }
    run.startService();
}

// A last request that is refused shows that the service lives and that nothing is left to be done.
void Player::finish() {
    if (waits) {
        run.waitUntil("the whole of the expected transcript",
                      [&] { return lineCount(run.console()) >= lineCount(expectedTranscript); });
        return;
    }
    run.trufios().sendRequest({std::string(closingRequest)});
    run.waitUntil("the acknowledgement of the closing request",
                  [&] { return !run.trufios().acknowledgements.empty(); });
    requireEqual("acknowledgement", std::string(testSupport::ack), takeFront(run.trufios().acknowledgements));
    if (consoleOpen) {
        run.waitUntil("the refusal of the closing request", [&] {
            return run.console().ends_with("Illegal Client MPEG Request: end of script\n"
                                           "Client Request not recognized\n");
        });
    }
    closed = true;
}

// "without parser": it is not there when the service starts.
void Player::without(const Line& line) {
    (line.words.at(1) == "trufios" ? wantsTrufios : wantsParser) = false;
}

void Player::starts(const Line& line) {
    if (line.words.at(1) == "trufios") {
        run.startTrufios();
    } else {
        run.startParser();
    }
}

// Of a parser that goes the service has noticed it: what it sends from here on is for the next one.
void Player::stops(const Line& line) {
    if (line.words.at(1) == "trufios") {
        run.stopTrufios();
        return;
    }
    const std::size_t connected = run.descriptorCount();
    run.stopParser();
    run.watchUntil("the end of the parser's connections", [&] { return run.descriptorCount() < connected; });
}

void Player::request(const Line& line) {
    queue(line);
    acknowledged(line);
}

void Player::queue(const Line& line) {
    run.trufios().sendRequest({restOf(line)});
}

void Player::requestParts(const Line& line) {
    testSupport::Parts parts;
    std::transform(line.words.begin() + 1, line.words.end(), std::back_inserter(parts),
                   [&](const std::string& word) { return partOf(word); });
    run.trufios().sendRequest(parts);
    acknowledged(line);
}

void Player::acknowledged(const Line&) {
    run.waitUntil("an acknowledgement", [&] { return !run.trufios().acknowledgements.empty(); });
    const std::string text = takeFront(run.trufios().acknowledgements);
    requireEqual("acknowledgement", std::string(testSupport::ack), text);
    note("requests: sends " + text);
}

void Player::subscribed(const Line& line) {
    for (std::size_t i = 1; i < line.words.size(); ++i) {
        run.waitUntil("a subscription", [&] { return !run.parser().subscriptions.empty(); });
        requireEqual("subscription", topicName(line.words[i]), takeFront(run.parser().subscriptions));
    }
}

void Player::unsubscribed(const Line& line) {
    for (std::size_t i = 1; i < line.words.size(); ++i) {
        run.waitUntil("an unsubscription", [&] { return !run.parser().unsubscriptions.empty(); });
        requireEqual("unsubscription", topicName(line.words[i]), takeFront(run.parser().unsubscriptions));
    }
}

void Player::instruction(const Line& line) {
    hearsInstruction(line);
    answerInstruction(line);
}

void Player::answerInstruction(const Line&) {
    run.parser().answerInstruction(heardInstruction);
}

// What the service sends to a peer that is not there, or is gone before it looks.
void Player::lost(const Line& line) {
    note(restOf(line));
}

void Player::hearsInstruction(const Line& line) {
    run.waitUntil("an instruction", [&] { return !run.parser().instructions.empty(); });
    heardInstruction = takeFront(run.parser().instructions);
    std::array<char, 8> digits{};
    std::snprintf(digits.data(), digits.size(), "%03x", heardInstruction);
    requireEqual("instruction", line.words.at(1), digits.data());
    std::snprintf(digits.data(), digits.size(), "%02x %02x", heardInstruction & 0xFF, heardInstruction >> 8);
    note(std::string("instructions: sends ") + digits.data());
}

// "publish PAT stream": a record of the book as a message of three parts.
void Player::publish(const Line& line) {
    const Record& record = book.at(line.words.at(1) + ' ' + line.words.at(2));
    run.parser().publish({record.topic, "1", record.bytes});
}

void Player::publishParts(const Line& line) {
    testSupport::Parts parts;
    std::transform(line.words.begin() + 1, line.words.end(), std::back_inserter(parts),
                   [&](const std::string& word) { return partOf(word); });
    run.parser().publish(parts);
}

// "@PAT:stream" is that record's bytes; anything else stands for itself.
std::string Player::partOf(const std::string& word) {
    if (!word.starts_with('@')) {
        return word;
    }
    std::string key = word.substr(1);
    std::replace(key.begin(), key.end(), ':', ' ');
    return book.at(key).bytes;
}

// "document" answers with an acknowledgement, "document {...}" with that text, "document unanswered" not at
// all.
void Player::document(const Line& line) {
    run.waitUntil("a document", [&] { return !run.trufios().documents.empty(); });
    note("documents: sends " + takeFront(run.trufios().documents));
    const std::string reply = restOf(line);
    if (reply != "unanswered") {
        run.trufios().answerDocument(reply.empty() ? std::string(testSupport::ack) : reply);
    }
}

void Player::answer(const Line& line) {
    run.trufios().answerDocument(restOf(line));
}

void Player::pause(const Line& line) {
    run.letPass(std::chrono::milliseconds(std::stol(line.words.at(1))));
}

// The line has been printed, anywhere so far.
void Player::console(const Line& line) {
    const std::string text = restOf(line) + '\n';
    run.waitUntil("the console line", [&] { return run.console().find(text) != std::string::npos; });
}

void Player::closeConsole(const Line&) {
    run.closeConsole();
    consoleOpen = false;
}

void Player::interrupt(const Line&) {
    run.interrupt();
}

void Player::freeze(const Line&) {
    run.freeze();
}

void Player::thaw(const Line&) {
    run.thaw();
}

// The first time, counts the descriptors; from then on waits until there are as many again.
void Player::sameDescriptors(const Line&) {
    if (!descriptors) {
        descriptors = run.descriptorCount();
    }
    run.waitUntil("as few descriptors", [&] { return run.descriptorCount() == *descriptors; });
}

void Player::descriptorLimit(const Line& line) {
    run.limitDescriptors(std::stoul(line.words.at(1)));
}

void Player::note(const std::string& line) {
    heard += line + '\n';
    if (!consoleOpen) {
        heardAfterConsole += "  | " + line + '\n';
    }
}

void Player::endsWaiting(const Line&) {
    waits = true;
}

void Player::terminated(const Line&) {
    waits = true;
    terminates = true;
}

// What the recorder saw the service send, in the form in which the player notes what it hears.
std::string sentLines(const std::string& transcript) {
    std::istringstream text(transcript);
    std::string sent;
    for (std::string line; std::getline(text, line);) {
        for (const std::string_view name : {"requests", "documents", "instructions"}) {
            const std::string start = "  | " + std::string(name);
            const std::size_t sends = line.find(": sends ");
            if (line.starts_with(start) && sends != std::string::npos) {
                sent += std::string(name) + line.substr(sends) + '\n';
            }
        }
    }
    return sent;
}

// The transcript without the answer to the closing request.
std::string withoutClosing(const std::string& transcript) {
    const std::size_t recorded = transcript.rfind("  | requests: receives " + std::string(closingRequest));
    const std::size_t plain = transcript.rfind("Illegal Client MPEG Request: end of script\n");
    return transcript.substr(0, std::min({recorded, plain, transcript.size()}));
}

// Messages that the script did not wait for are heard too.
std::string unheard(ServiceRun& run) {
    std::string text;
    if (run.hasTrufios()) {
        for (const std::string& document : run.trufios().documents) {
            text += "documents: sends " + document + '\n';
        }
    }
    if (run.hasParser()) {
        for (const std::string& topic : run.parser().subscriptions) {
            text += "records: a subscription that no line of the script waited for: " + topic + '\n';
        }
        for (const std::uint16_t word : run.parser().instructions) {
            text +=
                "instructions: a word that no line of the script waited for: " + std::to_string(word) + '\n';
        }
        for (const std::string& message : run.parser().malformedMessages) {
            text += "instructions: malformed " + message + '\n';
        }
    }
    return text;
}

} // namespace

std::string readFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot read " + file.string());
    }
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

Outcome playScript(const std::string& script, const std::string& sharedRecordText,
                   const std::string& expectedTranscript, RunOptions options) {
    RecordBook book;
    RecordReader sharedRecords(book);
    for (const Line& line : readLines(sharedRecordText)) {
        sharedRecords.readLine(line.words);
    }
    ServiceRun run(std::move(options));
    Player player(run, std::move(book), expectedTranscript);
    Outcome outcome;
    try {
        player.play(readLines(script));
    } catch (const std::exception& trouble) {
        outcome.trouble = trouble.what();
    }
    outcome.ending =
        player.terminates ? ServiceRun::Ending{"signal 15 (Terminated)", run.terminate()} : run.end();
    outcome.transcript =
        (player.closed ? withoutClosing(run.console()) : run.console()) + player.heardAfterConsole;
    outcome.errors = run.errors();
    outcome.sent = sentLines(outcome.transcript);
    outcome.heard = player.heard + unheard(run);
    return outcome;
}

} // namespace serviceTest
