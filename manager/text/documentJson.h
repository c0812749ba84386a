// Documents as JSON for scripts.
#pragma once

#include "documents/documentValues.h"

#include "text/jsonText.h"

#include <string>

namespace manager {

// One line of valid JSON without a line end, however irregular the document is: numbers are numbers, with
// their units in their names; what is unknown is null.
std::string documentJson(const Document& document);

// What that has of a listed PID or program, as members of the object that is being written.
void writeMembers(JsonText& json, const ListedPid& pid);
void writeMembers(JsonText& json, const ListedProgram& program);

} // namespace manager
