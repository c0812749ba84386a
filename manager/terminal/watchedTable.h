// A table that is asked for again and again, as it is shown in one place: what has changed since it last
// came, and what has gone.
#pragma once

#include "terminal/documentTable.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace manager {

struct WatchedCell {
    std::string text;
    bool changed = false; // by the newest document
};

struct WatchedRow {
    std::vector<WatchedCell> cells;
    bool isNew = false;                  // came with the newest document, and not with the first
    std::optional<std::string> goneAt{}; // the time of the first document without it
};

// A row is known by its first cell, and by how many of the same are above it. Rows keep their places, new
// ones come behind, unless a column has been chosen to sort by.
class WatchedTable {
  public:
    // time: as it is to be shown.
    void take(const DocumentTable& newest, const std::string& time);

    // Sorts by the column to the right or left of the present one; beyond the ends by none.
    void sortByNext();
    void sortByPrevious();
    void reverseOrder();
    // Forgets rows that have gone.
    void forgetGone();

    const std::string& heading() const {
        return newestHeading;
    }
    const std::vector<std::string>& titles() const {
        return newestTitles;
    }
    Align alignment(std::size_t column) const {
        return alignments[column];
    }
    // As they are to be shown. Numbers are sorted as numbers, with their units.
    const std::vector<WatchedRow>& rows() const {
        return shownRows;
    }
    std::optional<std::size_t> sortedBy() const {
        return sortColumn;
    }
    bool isReversed() const {
        return reversed;
    }

  private:
    void sort();

    std::string newestHeading;
    std::vector<std::string> newestTitles;
    std::vector<Align> alignments;
    std::vector<WatchedRow> knownRows; // in the order in which they came
    std::vector<WatchedRow> shownRows;
    std::optional<std::size_t> sortColumn;
    bool reversed = false;
    bool hasCome = false;
};

} // namespace manager
