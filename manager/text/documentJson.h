// Documents as JSON for scripts.
#pragma once

#include "documents/documentValues.h"

#include <string>

namespace manager {

// One line of valid JSON without a line end, however irregular the document is: numbers are numbers, with
// their units in their names; what is unknown is null.
std::string documentJson(const Document& document);

} // namespace manager
