#include "documents/programIndex.h"

#include "documents/documentReader.h"
#include "managerError.h"

#include <algorithm>
#include <string>
#include <variant>

namespace manager {
namespace {

Pat readPat(std::string_view text) {
    const auto result = readDocument(text);
    const auto* const document = std::get_if<Document>(&result);
    const auto* const pat = document == nullptr ? nullptr : std::get_if<Pat>(document);
    if (pat == nullptr) {
        throw ManagerError(ExitStatus::refused,
                           {"cannot read the PAT", "a document with a list of programs", std::string(text),
                            "what answers does not speak mpegFE's protocol"});
    }
    return *pat;
}

std::string programsIn(const Pat& pat) {
    std::string numbers;
    for (const PatProgram& program : pat.programs) {
        if (program.programNumber != 0) { // which is the network entry
            numbers += numbers.empty() ? "" : ", ";
            numbers += std::to_string(program.programNumber);
        }
    }
    return numbers;
}

} // namespace

int programIndex(std::string_view patDocument, int programNumber) {
    const Pat pat = readPat(patDocument);
    const auto program = std::ranges::find(pat.programs, programNumber, &PatProgram::programNumber);
    if (program != pat.programs.end()) {
        return static_cast<int>(program - pat.programs.begin());
    }
    const std::string programs = programsIn(pat);
    throw ManagerError(ExitStatus::refused,
                       {"there is no such program",
                        programs.empty() ? "no program, as the stream's PAT has none" : "one of " + programs,
                        std::to_string(programNumber),
                        "\"mpegfe-manager pgmData on --table\" shows them by their names"});
}

} // namespace manager
