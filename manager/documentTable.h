// The PID list and the program list as tables for people.
#pragma once

#include <string>
#include <string_view>

namespace manager {

// What became of a document: its table, or else the reason why it has none.
struct DocumentTable {
    std::string table;   // a heading and the aligned lines; empty when there is none
    std::string problem; // empty when there is a table
};

// Makes the table of a PID list or a program list document. Every other document has no table form, nor has
// one that is not valid JSON: the service copies names without escaping them, so a quotation mark in a
// service name breaks its document. Control characters and bytes that are not UTF-8 do not keep a document
// from having a table; they are written out.
DocumentTable makeDocumentTable(std::string_view document);

// The data stream that a document says it belongs to, read off its fixed head, because not every document is
// valid JSON; empty when the text has no such head.
std::string_view documentStream(std::string_view document);

} // namespace manager
