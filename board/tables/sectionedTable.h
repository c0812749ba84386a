// Tables that come in several sections.
#pragma once

#include "tables/psiTables.h"

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
    // Takes one section's rows. A new version, or another extension, starts the table anew. Returns whether
    // rows() is now what to show.
    bool put(const SectionHeader& header, std::vector<Row> rows) {
        if (startsAnew(header)) {
            sections_.clear();
        }
        header_ = header;
        sections_[header.number] = std::move(rows);
        const bool shown = complete() || !everComplete_;
        everComplete_ = everComplete_ || complete();
        return shown;
    }

    // Whether a section with this header starts the table anew.
    bool startsAnew(const SectionHeader& header) const {
        return !header_ || header_->version != header.version || header_->extension != header.extension ||
               header_->last != header.last;
    }

    // The headers of the sections so far.
    std::vector<SectionHeader> headers() const {
        std::vector<SectionHeader> all;
        for (const auto& [number, rows] : sections_) {
            all.push_back(*header_);
            all.back().number = number;
        }
        return all;
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
    bool everComplete_ = false;
};

// A table whose sections speak for themselves, and whose numbers may have gaps between segments of eight, so
// that nothing tells when it is whole (ETSI EN 300 468, 5.2.4). A section stays until its number comes again,
// or until a newer one says that it is no longer there.
template <class Row>
class SegmentedTable {
  public:
    // Takes one section's rows. segmentLast is the segment_last_section_number beside them. Returns the
    // numbers of the sections that are no longer there.
    std::vector<std::uint8_t> put(const SectionHeader& header, std::uint8_t segmentLast,
                                  std::vector<Row> rows) {
        std::vector<std::uint8_t> gone;
        std::erase_if(sections_, [&](const auto& entry) {
            const auto& [number, section] = entry;
            const bool over =
                section.version != header.version &&
                (number > header.last || (sameSegment(number, header.number) && number > segmentLast));
            if (over) {
                gone.push_back(number);
            }
            return over;
        });
        sections_.erase(header.number);
        if (!rows.empty()) { // so that what is kept is bounded by its rows
            sections_.emplace(header.number, Section{header.version, std::move(rows)});
        }
        return gone;
    }

    // The numbers of its sections that have rows.
    std::vector<std::uint8_t> numbers() const {
        std::vector<std::uint8_t> all;
        for (const auto& [number, section] : sections_) {
            all.push_back(number);
        }
        return all;
    }

    // How many rows a section of this number has.
    std::size_t size(std::uint8_t number) const {
        const auto found = sections_.find(number);
        return found == sections_.end() ? 0 : found->second.rows.size();
    }

    // How many rows all sections have.
    std::size_t size() const {
        std::size_t all = 0;
        for (const auto& [number, section] : sections_) {
            all += section.rows.size();
        }
        return all;
    }

    // All rows, in the order of the sections.
    std::vector<Row> rows() const {
        std::vector<Row> all;
        for (const auto& [number, section] : sections_) {
            all.insert(all.end(), section.rows.begin(), section.rows.end());
        }
        return all;
    }

  private:
    struct Section {
        std::uint8_t version = 0;
        std::vector<Row> rows;
    };

    static bool sameSegment(std::uint8_t one, std::uint8_t other) {
        constexpr int sectionsPerSegment = 8;
        return one / sectionsPerSegment == other / sectionsPerSegment;
    }

    std::map<std::uint8_t, Section> sections_;
};

} // namespace board
