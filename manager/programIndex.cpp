#include "programIndex.h"

#include "displayText.h"
#include "managerError.h"

#include "companions/json.h"

namespace manager {
namespace {

using companions::Json;
using companions::textOf;

constexpr std::string_view networkEntry = "0"; // program number of the network PID, which is no program

const json_t* entriesOf(const Json& document) {
    return json_object_get(json_object_get(document.get(), "PAT"), "details");
}

std::string programsIn(const json_t* entries) {
    std::string numbers;
    std::size_t index = 0;
    const json_t* entry = nullptr;
    json_array_foreach(entries, index, entry) {
        if (textOf(entry, "pgmNum") != networkEntry) {
            numbers += numbers.empty() ? "" : ", ";
            numbers += displayable(textOf(entry, "pgmNum"));
        }
    }
    return numbers;
}

} // namespace

int programIndex(std::string_view patDocument, int programNumber) {
    const Json document(json_loadb(patDocument.data(), patDocument.size(), 0, nullptr));
    const json_t* const entries = entriesOf(document);
    if (!json_is_array(entries)) {
        throw ManagerError(ExitStatus::refused,
                           {"cannot read the PAT", "a document with a list of programs",
                            displayable(patDocument), "what answers does not speak mpegFE's protocol"});
    }
    const std::string number = std::to_string(programNumber);
    std::size_t index = 0;
    const json_t* entry = nullptr;
    json_array_foreach(entries, index, entry) {
        if (textOf(entry, "pgmNum") == number) {
            return static_cast<int>(index);
        }
    }
    const std::string programs = programsIn(entries);
    throw ManagerError(ExitStatus::refused,
                       {"there is no such program",
                        programs.empty() ? "no program, as the stream's PAT has none" : "one of " + programs,
                        number, "\"mpegfe-manager pgmData on --table\" shows them by their names"});
}

} // namespace manager
