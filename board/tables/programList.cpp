#include "tables/programList.h"

#include "wire/records.h"

#include <algorithm>
#include <bitset>
#include <unordered_set>
#include <utility>

namespace board {

namespace {

// Takes rows in their order.
class Selection {
  public:
    void take(const std::vector<PatEntry>& rows) {
        for (const PatEntry& row : rows) {
            if (seen_[row.program]) {
                continue;
            }
            seen_[row.program] = true;
            if (row.program != 0 && room_ == 0) {
                ++list_.leftOut;
                continue;
            }
            room_ -= row.program != 0 ? 1 : 0;
            list_.entries.push_back(row);
        }
    }

    void leaveOut(std::size_t rows) {
        list_.leftOut += rows;
    }

    ProgramList list() && {
        return std::move(list_);
    }

  private:
    std::bitset<0x10000> seen_; // by program_number
    std::size_t room_ = wire::maxPrograms;
    ProgramList list_;
};

} // namespace

ProgramList shownOf(const std::vector<PatEntry>& rows) {
    Selection selection;
    selection.take(rows);
    return std::move(selection).list();
}

ProgramList joined(const std::vector<ProgramList>& parts) {
    Selection selection;
    for (const ProgramList& part : parts) {
        selection.take(part.entries);
        selection.leaveOut(part.leftOut);
    }
    return std::move(selection).list();
}

bool beginsNewStream(const StreamModel& model, std::uint16_t transportStreamId,
                     const std::vector<PatEntry>& entries) {
    if (!model.transportStreamId) {
        return false;
    }
    if (model.transportStreamId != transportStreamId) {
        return true;
    }
    std::unordered_set<std::uint16_t> old;
    for (const Program& program : model.programs) {
        if (program.number != 0) {
            old.insert(program.number);
        }
    }
    return !old.empty() &&
           std::ranges::none_of(entries, [&](const PatEntry& entry) { return old.contains(entry.program); });
}

std::vector<Program> programsOf(const std::vector<PatEntry>& entries, const std::vector<Program>& before) {
    std::vector<Program> programs;
    for (const PatEntry& entry : entries) {
        const auto same = std::ranges::find_if(before, [&](const Program& program) {
            return program.number == entry.program && program.pmtPid == entry.pid;
        });
        programs.push_back({entry.program, entry.pid, same == before.end() ? std::nullopt : same->map});
    }
    return programs;
}

} // namespace board
