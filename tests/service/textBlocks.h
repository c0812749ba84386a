// Texts out of named blocks: what many texts have in common stands once, under a name, and they say the name.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace serviceTest {

// What the names in braces stand for. A line that names several values is repeated for each of them, and one
// that names none is left out.
using Values = std::map<std::string, std::vector<std::string>>;

// The text with the values in place of "{NAME}"; "{x*350}" and "{0xff*350}" are a character many times.
// Throws std::runtime_error where a name has no value.
std::string fillIn(const std::string& text, const Values& values);

// Definitions of blocks; README.md tells how they are written and used.
class TextBlocks {
  public:
    // Adds the blocks that a text defines. Throws std::runtime_error when it has lines before the first one.
    void define(const std::string& text);

    // The text with each "@ NAME" replaced by that block's lines. Throws std::runtime_error for a name that
    // is no block's or several blocks'.
    std::string expand(const std::string& text, const Values& values) const;

  private:
    class Expansion;
    struct Block {
        std::vector<std::string> name; // word by word, "{N}" and "{TOPIC...}" for what is said with it
        std::vector<std::string> lines;
    };
    struct Use {
        const Block* block = nullptr;
        Values values;
    };

    Use find(const std::string& name) const;

    std::vector<Block> blocks;
};

} // namespace serviceTest
