// A program's index, which requests name it by, for its number, which people know it by.
#pragma once

#include <string_view>

namespace manager {

// The index of the program with this number in a PAT document: its place in the table. Throws ManagerError
// (refused) when the table has no such program, which names those it has, or when the document is no PAT.
int programIndex(std::string_view patDocument, int programNumber);

} // namespace manager
