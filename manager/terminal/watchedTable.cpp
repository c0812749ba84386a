#include "terminal/watchedTable.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>
#include <utility>

namespace manager {
namespace {

// What has gone is forgotten beyond this many rows, the oldest first.
constexpr std::size_t mostRows = 1000;

// "1.500Mbps", "0x1FFF" or "12 x" as a number.
std::optional<double> numberIn(std::string_view text) {
    constexpr int hexadecimal = 16;
    if (text.starts_with("0x")) {
        unsigned value = 0;
        const auto [end, error] =
            std::from_chars(text.data() + 2, text.data() + text.size(), value, hexadecimal);
        return error == std::errc() ? std::optional<double>(value) : std::nullopt;
    }
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) {
        return std::nullopt;
    }
    const std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
    return unit.starts_with("Mbps") ? value * 1e6 : unit.starts_with("Kbps") ? value * 1e3 : value;
}

// Texts behind numbers.
bool isBefore(const std::string& left, const std::string& right) {
    const std::optional<double> leftNumber = numberIn(left);
    const std::optional<double> rightNumber = numberIn(right);
    if (leftNumber && rightNumber) {
        return *leftNumber < *rightNumber;
    }
    return leftNumber.has_value() != rightNumber.has_value() ? leftNumber.has_value() : left < right;
}

using RowKey = std::pair<std::string, int>;

// The keys of rows whose first cells come one by one.
class RowKeys {
  public:
    RowKey of(const std::string& first) {
        return {first, counts[first]++};
    }

  private:
    std::map<std::string, int> counts;
};

void update(WatchedRow& row, const std::vector<std::string>& texts) {
    row.isNew = row.goneAt.has_value();
    row.goneAt.reset();
    for (std::size_t column = 0; column < texts.size(); ++column) {
        WatchedCell& cell = row.cells[column];
        cell.changed = cell.text != texts[column];
        cell.text = texts[column];
    }
}

void leave(WatchedRow& row, const std::string& time) {
    row.isNew = false;
    row.goneAt = row.goneAt.value_or(time);
    for (WatchedCell& cell : row.cells) {
        cell.changed = false;
    }
}

} // namespace

void WatchedTable::take(const DocumentTable& newest, const std::string& time) {
    newestHeading = newest.heading;
    if (newestTitles != newest.table.titles()) {
        newestTitles = newest.table.titles();
        knownRows.clear();
        sortColumn.reset();
    }
    alignments.clear();
    for (std::size_t column = 0; column < newestTitles.size(); ++column) {
        alignments.push_back(newest.table.alignment(column));
    }

    std::map<RowKey, const std::vector<std::string>*> come;
    std::vector<RowKey> inOrder;
    RowKeys newKeys;
    for (const std::vector<std::string>& texts : newest.table.body()) {
        inOrder.push_back(newKeys.of(texts.front()));
        come.emplace(inOrder.back(), &texts);
    }
    RowKeys knownKeys;
    for (WatchedRow& row : knownRows) {
        const auto found = come.find(knownKeys.of(row.cells.front().text));
        if (found == come.end()) {
            leave(row, time);
            continue;
        }
        update(row, *found->second);
        come.erase(found);
    }
    for (const RowKey& key : inOrder) {
        if (const auto found = come.find(key); found != come.end()) {
            WatchedRow row{.cells = std::vector<WatchedCell>(found->second->size()), .isNew = hasCome};
            std::ranges::transform(*found->second, row.cells.begin(),
                                   [](const std::string& text) { return WatchedCell{text}; });
            knownRows.push_back(std::move(row));
        }
    }
    hasCome = true;
    if (knownRows.size() > mostRows) {
        forgetGone();
    }
    sort();
}

void WatchedTable::sortByNext() {
    if (newestTitles.empty()) {
        return;
    }
    const std::size_t next = sortColumn ? *sortColumn + 1 : 0;
    sortColumn = next < newestTitles.size() ? std::optional(next) : std::nullopt;
    sort();
}

void WatchedTable::sortByPrevious() {
    if (newestTitles.empty()) {
        return;
    }
    const std::size_t place = sortColumn.value_or(newestTitles.size());
    sortColumn = place > 0 ? std::optional(place - 1) : std::nullopt;
    sort();
}

void WatchedTable::reverseOrder() {
    reversed = !reversed;
    sort();
}

void WatchedTable::forgetGone() {
    std::erase_if(knownRows, [](const WatchedRow& row) { return row.goneAt.has_value(); });
    sort();
}

void WatchedTable::sort() {
    shownRows = knownRows;
    if (sortColumn) {
        std::ranges::stable_sort(shownRows, [&](const WatchedRow& left, const WatchedRow& right) {
            return isBefore(left.cells[*sortColumn].text, right.cells[*sortColumn].text);
        });
    }
    if (reversed) {
        std::ranges::reverse(shownRows);
    }
}

} // namespace manager
