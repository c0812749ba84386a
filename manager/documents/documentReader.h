// The one reader of every document that the service writes, the irregular ones included.
#pragma once

#include "documents/documentValues.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace manager {

// Why a text is no document: what should have stood where.
struct ReadError {
    std::string expected;
    std::size_t offset = 0; // bytes from the text's start
};

// The error as one line: `expected "pidNum" at byte 63`.
std::string describe(const ReadError& error);

// Reads a document by the shape that its data stream has: known members in a known order. So a text may hold
// quotation marks, as the service copies names without escaping them: it ends at the first quotation mark
// from which all the rest can be read by that shape. A comma too many is passed over wherever the service
// writes one. Needs time and memory in proportion to the text, whatever bytes it has.
std::variant<Document, ReadError> readDocument(std::string_view text);

// The data stream that a document says it belongs to, read off its fixed head; empty when the text has no
// such head.
std::string_view documentStream(std::string_view document);

} // namespace manager
