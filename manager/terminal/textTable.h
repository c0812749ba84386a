// A table of texts in aligned columns.
#pragma once

#include <cstddef>
#include <span>
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

// A displayable text with blanks up to this width, if it is not as wide already.
std::string padded(const std::string& text, std::size_t width, Align align);

class TextTable {
  public:
    explicit TextTable(std::vector<Column> tableColumns);

    // One text a column; what a terminal would not show is written out, and what is wider than any text that
    // the service has is cut, so that one text cannot widen every line.
    void addRow(const std::vector<std::string>& texts);

    // As they are shown.
    const std::vector<std::string>& titles() const {
        return rows.front();
    }
    std::span<const std::vector<std::string>> body() const {
        return std::span(rows).subspan(1);
    }
    Align alignment(std::size_t column) const {
        return columns[column].align;
    }

    // The titles and the rows as lines, each with a line end and no blanks before it.
    std::string text() const;

  private:
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows; // the titles first
};

} // namespace manager
