// Documents as tables for people.
#pragma once

#include "documents/documentValues.h"
#include "terminal/textTable.h"

#include <string>

namespace manager {

// A heading of one line, and what the document lists, if it lists anything.
struct DocumentTable {
    std::string heading;
    TextTable table;
};

// Whatever texts the document has, a terminal only shows them, and no cell is wider than a table's.
DocumentTable tableOf(const Document& document);

// The same as text: the heading, and for what has a list an empty line and the aligned lines, each with a
// line end.
std::string documentTable(const Document& document);

} // namespace manager
