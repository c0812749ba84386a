// Any bytes as a document, as the media manager reads and shows it: what can be read becomes a table that a
// terminal only shows, and JSON that another reader takes.
//
// Input: the document.
#include "check.h"
#include "documents/documentReader.h"
#include "terminal/documentTable.h"
#include "text/displayText.h"
#include "text/documentJson.h"

#include "companions/json.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace {

// A heading may hold more columns than a table's texts.
constexpr std::size_t linesAndTitles = 400;

void checkTable(const manager::Document& document, std::size_t size) {
    std::string table = manager::documentTable(document);
    check(table.ends_with('\n'), "a table ends in a line end");
    std::erase(table, '\n');
    check(manager::displayable(table) == table, "a terminal only shows the table");
    constexpr std::size_t mostGrowth = 40; // an entry of 35 bytes becomes a line
    check(table.size() < mostGrowth * (size + linesAndTitles), "a table grows with its document");
}

void checkJson(const manager::Document& document) {
    const std::string text = manager::documentJson(document);
    check(manager::displayable(text) == text, "a terminal only shows the JSON");
    check(companions::Json(json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES | JSON_ALLOW_NUL,
                                      nullptr)) != nullptr,
          "the JSON is valid");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto result = manager::readDocument(text);
    if (const auto* const error = std::get_if<manager::ReadError>(&result)) {
        check(error->offset <= size && !error->expected.empty(),
              "an error says what should have stood where");
        return 0;
    }
    const auto& document = std::get<manager::Document>(result);
    checkTable(document, size);
    checkJson(document);
    return 0;
}
