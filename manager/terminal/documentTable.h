// Documents as tables for people.
#pragma once

#include "documents/documentValues.h"

#include <string>

namespace manager {

// A heading, and for what has a list an empty line and the aligned lines, each with a line end. Whatever
// texts the document has, a terminal only shows it, and no line is wider than a table's.
std::string documentTable(const Document& document);

} // namespace manager
