#include "terminal/textTable.h"

#include "text/displayText.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace manager {
namespace {

constexpr std::string_view gap = "  ";

} // namespace

std::string padded(const std::string& text, std::size_t width, Align align) {
    const std::string blanks(width - std::min(width, displayWidth(text)), ' ');
    return align == Align::right ? blanks + text : text + blanks;
}

TextTable::TextTable(std::vector<Column> tableColumns) : columns(std::move(tableColumns)) {
    std::vector<std::string> titles;
    std::transform(columns.begin(), columns.end(), std::back_inserter(titles),
                   [](const Column& column) { return column.title; });
    rows.push_back(std::move(titles));
}

void TextTable::addRow(const std::vector<std::string>& texts) {
    std::vector<std::string> row;
    std::transform(texts.begin(), texts.end(), std::back_inserter(row),
                   [](const std::string& text) { return cutToWidth(displayable(text), widestCell); });
    row.resize(columns.size());
    rows.push_back(std::move(row));
}

std::string TextTable::text() const {
    std::vector<std::size_t> widths(columns.size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    std::string lines;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            line += gap;
            line += padded(row[i], widths[i], columns[i].align);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines += line + '\n';
    }
    return lines;
}

} // namespace manager
