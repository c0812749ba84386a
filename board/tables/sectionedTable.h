// Tables that come in several sections.
#pragma once

#include "tables/section.h"

#include <cstddef>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace board {

// A table that says something as a whole only. Until the first whole one has come, what there is is better
// than nothing; from then on the sections of a new version are collected until none is missing.
template <class Row>
class SectionedTable {
  public:
    // Whether this very section is among those of the table, so that it says nothing new.
    bool knows(const SectionHeader& header) const {
        if (startsAnew(header)) {
            return false;
        }
        const auto found = sections_.find(header.number);
        return found != sections_.end() && found->second.crc == header.crc;
    }

    // Takes one section's rows. A new version, or another extension, starts the table anew. Returns whether
    // rows() is now what to show.
    bool put(const SectionHeader& header, std::vector<Row> rows) {
        if (startsAnew(header)) {
            sections_.clear();
        }
        header_ = header;
        sections_[header.number] = Section{header.crc, std::move(rows)};
        const bool shown = complete() || !everComplete_;
        everComplete_ = everComplete_ || complete();
        return shown;
    }

    // Whether any section has come.
    bool begun() const {
        return header_.has_value();
    }

    // Whether every section from 0 to the last has come.
    bool complete() const {
        return header_ && sections_.size() == std::size_t{header_->last} + 1;
    }

    // The rows so far, in the order of the sections.
    std::vector<Row> rows() const {
        std::vector<Row> all;
        for (const auto& [number, section] : sections_) {
            all.insert(all.end(), section.rows.begin(), section.rows.end());
        }
        return all;
    }

  private:
    struct Section {
        std::uint32_t crc = 0;
        std::vector<Row> rows;
    };

    bool startsAnew(const SectionHeader& header) const {
        return !header_ || header_->version != header.version || header_->extension != header.extension ||
               header_->last != header.last;
    }

    std::optional<SectionHeader> header_; // of the section that came last
    std::map<std::uint8_t, Section> sections_;
    bool everComplete_ = false;
};

} // namespace board
