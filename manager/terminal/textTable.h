// A table of texts in aligned columns.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace manager {

// Columns that a text has at the most.
inline constexpr std::size_t widestCell = 240;

enum class Align { left, right };

struct Column {
    std::string title;
    Align align;
};

class TextTable {
  public:
    explicit TextTable(std::vector<Column> tableColumns);

    // One text a column; what a terminal would not show is written out, and what is wider than any text that
    // the service has is cut, so that one text cannot widen every line.
    void addRow(const std::vector<std::string>& texts);

    // The titles and the rows as lines, each with a line end and no blanks before it.
    std::string text() const;

  private:
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows; // the titles first
};

} // namespace manager
