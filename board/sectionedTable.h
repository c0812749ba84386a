// A table that comes in several sections.
#pragma once

#include "psiTables.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace board {

template <class Row>
class SectionedTable {
  public:
    // Takes one section's rows. A new version, or another extension, starts the table anew.
    void put(const SectionHeader& header, std::vector<Row> rows) {
        if (!header_ || header_->version != header.version || header_->extension != header.extension ||
            header_->last != header.last) {
            sections_.clear();
        }
        header_ = header;
        sections_[header.number] = std::move(rows);
    }

    // Whether every section from 0 to the last has come.
    bool complete() const {
        return header_ && sections_.size() == std::size_t{header_->last} + 1;
    }

    // The rows so far, in the order of the sections.
    std::vector<Row> rows() const {
        std::vector<Row> all;
        for (const auto& [number, rows] : sections_) {
            all.insert(all.end(), rows.begin(), rows.end());
        }
        return all;
    }

  private:
    std::optional<SectionHeader> header_;
    std::map<std::uint8_t, std::vector<Row>> sections_;
};

} // namespace board
