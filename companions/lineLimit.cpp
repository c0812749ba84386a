#include "companions/lineLimit.h"

#include <algorithm>

namespace companions {
namespace {

constexpr int wordsOfAKind = 3;

bool isPlain(char letter) {
    return letter >= 'a' && letter <= 'z';
}

// The first words, as far as they are of small letters and blanks alone. What a peer, a stream or the user
// brings into a line comes behind them, or is the end of a kind of its own.
std::string_view kindOf(std::string_view line) {
    std::size_t end = 0;
    for (int word = 0; word < wordsOfAKind; ++word) {
        std::size_t behind = end;
        while (behind < line.size() && isPlain(line[behind])) {
            ++behind;
        }
        const bool whole = behind == line.size() || line[behind] == ' ' || line[behind] == ':';
        if (behind == end || !whole) {
            break;
        }
        end = behind + 1;
        if (behind == line.size() || line[behind] == ':') {
            break;
        }
    }
    return line.substr(0, end == 0 ? 0 : end - 1);
}

std::string toldOf(const std::string& kind, std::size_t lines) {
    return kind + (kind.empty() ? "" : " ") + "... " + std::to_string(lines) +
           (lines == 1 ? " more line" : " more lines") + " of this kind";
}

} // namespace

bool LineLimit::admits(std::string_view line, Instant now) {
    const std::string_view words = kindOf(line);
    auto kind = kinds_.find(words);
    if (kind == kinds_.end()) {
        kind = kinds_.emplace(words, Kind{now}).first;
    }
    return ++kind->second.lines <= linesAPeriod;
}

std::vector<std::string> LineLimit::over(Instant now) {
    std::vector<std::string> told;
    std::erase_if(kinds_, [&](const auto& entry) {
        const auto& [words, kind] = entry;
        const bool ends = now - kind.start >= period;
        if (ends && kind.lines > linesAPeriod) {
            told.push_back(toldOf(words, kind.lines - linesAPeriod));
        }
        return ends;
    });
    return told;
}

std::vector<std::string> LineLimit::all() {
    return over(Instant::max());
}

} // namespace companions
