#include "textBlocks.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace serviceTest {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Split at each single space, so that the words put together again are the text.
std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words{""};
    for (const char c : text) {
        if (c == ' ') {
            words.emplace_back();
        } else {
            words.back() += c;
        }
    }
    return words;
}

bool isName(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalpha(c) != 0; });
}

bool isNumber(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

// Hands each "{...}" of a line to the function, and puts in what it gives, if it gives anything.
template <typename Replacement>
std::string replaceBraces(const std::string& line, Replacement replacement) {
    std::string result;
    std::size_t at = 0;
    while (at < line.size()) {
        const std::size_t end = line[at] == '{' ? line.find('}', at) : std::string::npos;
        std::optional<std::string> text;
        if (end != std::string::npos) {
            text = replacement(line.substr(at + 1, end - at - 1));
        }
        if (text) {
            result += *text;
            at = end + 1;
        } else {
            result += line[at++];
        }
    }
    return result;
}

// "x*350", or "0xff*350" for a byte that is no character.
std::optional<std::string> repeated(const std::string& text) {
    const std::size_t star = text.find('*');
    if (star == std::string::npos || !isNumber(text.substr(star + 1))) {
        return std::nullopt;
    }
    const std::string what = text.substr(0, star);
    if (what.size() != 1 && !what.starts_with("0x")) {
        return std::nullopt;
    }
    const char byte = what.size() == 1 ? what[0] : static_cast<char>(std::stoul(what, nullptr, 16));
    return std::string(std::stoul(text.substr(star + 1)), byte);
}

// "7:4" the Kth time is 7 + K, at least four characters wide.
std::optional<std::string> counted(const std::string& text, std::size_t k) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || !isNumber(text.substr(0, colon)) || !isNumber(text.substr(colon + 1))) {
        return std::nullopt;
    }
    const std::string number = std::to_string(std::stoul(text.substr(0, colon)) + k);
    const std::size_t width = std::stoul(text.substr(colon + 1));
    return std::string(width - std::min(width, number.size()), ' ') + number;
}

// The name in a line that has several values or none, if there is one.
std::optional<std::string> listIn(const std::string& line, const Values& values) {
    std::optional<std::string> list;
    replaceBraces(line, [&](const std::string& name) -> std::optional<std::string> {
        const auto found = values.find(name);
        if (found != values.end() && found->second.size() != 1) {
            list = name;
        }
        return std::nullopt;
    });
    return list;
}

std::vector<std::string> filledLines(const std::string& line, const Values& values) {
    const std::optional<std::string> list = listIn(line, values);
    if (list) {
        std::vector<std::string> lines;
        for (const std::string& value : values.at(*list)) {
            Values single = values;
            single[*list] = {value};
            const std::vector<std::string> filled = filledLines(line, single);
            lines.insert(lines.end(), filled.begin(), filled.end());
        }
        return lines;
    }
    return {replaceBraces(line, [&](const std::string& text) -> std::optional<std::string> {
        if (!isName(text)) {
            return repeated(text);
        }
        const auto found = values.find(text);
        if (found == values.end()) {
            throw std::runtime_error("{" + text + "} stands for nothing in: " + line);
        }
        return replaceBraces(found->second[0], repeated);
    })};
}

// The values that the words give to a block's name, if they are its name.
std::optional<Values> valuesOfName(const std::vector<std::string>& name,
                                   const std::vector<std::string>& words) {
    Values values;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (i >= words.size()) {
            return std::nullopt;
        }
        const std::size_t close = name[i].find('}');
        if (name[i][0] != '{' || close == std::string::npos) {
            if (name[i] != words[i]) {
                return std::nullopt;
            }
            continue;
        }
        const std::string parameter = name[i].substr(1, close - 1);
        if (parameter.ends_with("...")) {
            values[parameter.substr(0, parameter.size() - 3)] = {
                words.begin() + static_cast<std::ptrdiff_t>(i), words.end()};
            return values;
        }
        const std::string tail = name[i].substr(close + 1);
        std::string value = words[i];
        if (i + 1 == name.size()) {
            std::for_each(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, words.end(),
                          [&](const std::string& word) { value += ' ' + word; });
        } else if (!value.ends_with(tail)) {
            return std::nullopt;
        } else {
            value.resize(value.size() - tail.size());
        }
        values[parameter] = {value};
        if (i + 1 == name.size()) {
            return values;
        }
    }
    return words.size() == name.size() ? std::optional(values) : std::nullopt;
}

} // namespace

// A text on its way through its blocks.
class TextBlocks::Expansion {
  public:
    Expansion(const TextBlocks& definitions, const Values& values) : known(definitions), everywhere(values) {
        useFeed("1");
    }

    void add(const std::vector<std::string>& lines, const Values& values);

    std::string text;

  private:
    void use(const std::string& name);
    void useFeed(const std::string& number);
    void repeat(const std::string& countAndLine);

    const TextBlocks& known;
    Values everywhere; // what is said in every block
};

void TextBlocks::Expansion::add(const std::vector<std::string>& lines, const Values& values) {
    for (const std::string& line : lines) {
        Values all = values;
        all.insert(everywhere.begin(), everywhere.end());
        for (const std::string& filled : filledLines(line, all)) {
            if (filled.starts_with("@ ")) {
                use(filled.substr(2));
            } else {
                text += filled + '\n';
            }
        }
    }
}

void TextBlocks::Expansion::use(const std::string& name) {
    const std::vector<std::string> words = wordsOf(name);
    if (words.size() == 2 && words[0] == "feed" && isNumber(words[1])) {
        useFeed(words[1]);
    } else if (words[0] == "times") {
        repeat(name.substr(words[0].size() + 1));
    } else {
        const Use found = known.find(name);
        add(found.block->lines, found.values);
    }
}

// From here on the blocks are about the feed with this number. The first context is that of Trufios.
void TextBlocks::Expansion::useFeed(const std::string& number) {
    everywhere["feed"] = {number == "1" ? "" : ' ' + number};
    everywhere["context"] = {std::to_string(std::stoul(number) + 1)};
}

void TextBlocks::Expansion::repeat(const std::string& countAndLine) {
    const std::size_t space = countAndLine.find(' ');
    const std::size_t count = std::stoul(countAndLine.substr(0, space));
    for (std::size_t k = 0; k < count; ++k) {
        text += replaceBraces(countAndLine.substr(space + 1),
                              [&](const std::string& counter) { return counted(counter, k); }) +
                '\n';
    }
}

std::string fillIn(const std::string& text, const Values& values) {
    std::string result;
    for (const std::string& line : linesOf(text)) {
        for (const std::string& filled : filledLines(line, values)) {
            result += filled + '\n';
        }
    }
    return result;
}

void TextBlocks::define(const std::string& text) {
    const std::string opening = "block ";
    bool open = false;
    std::size_t emptyLines = 0; // they belong to a block only if another of its lines follows
    for (const std::string& line : linesOf(text)) {
        if (line.starts_with(opening)) {
            blocks.push_back({wordsOf(line.substr(opening.size())), {}});
            open = true;
            emptyLines = 0;
        } else if (line.starts_with('#')) {
            open = false;
        } else if (line.empty()) {
            ++emptyLines;
        } else if (!open) {
            throw std::runtime_error("a line outside of all blocks: " + line);
        } else {
            blocks.back().lines.insert(blocks.back().lines.end(), emptyLines, "");
            blocks.back().lines.push_back(line);
            emptyLines = 0;
        }
    }
}

std::string TextBlocks::expand(const std::string& text, const Values& values) const {
    Expansion expansion(*this, values);
    expansion.add(linesOf(text), {});
    return expansion.text;
}

TextBlocks::Use TextBlocks::find(const std::string& name) const {
    const std::vector<std::string> words = wordsOf(name);
    Use found;
    for (const Block& block : blocks) {
        std::optional<Values> values = valuesOfName(block.name, words);
        if (values && found.block != nullptr) {
            throw std::runtime_error("two blocks are called: " + name);
        }
        if (values) {
            found = {&block, std::move(*values)};
        }
    }
    if (found.block == nullptr) {
        throw std::runtime_error("no block is called: " + name);
    }
    return found;
}

} // namespace serviceTest
