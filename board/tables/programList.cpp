#include "tables/programList.h"

#include "wire/records.h"

#include <algorithm>
#include <unordered_set>

namespace board {

std::vector<PatEntry> withoutRepeats(const std::vector<PatEntry>& entries) {
    std::unordered_set<std::uint16_t> seen;
    std::vector<PatEntry> kept;
    std::ranges::copy_if(entries, std::back_inserter(kept),
                         [&](const PatEntry& entry) { return seen.insert(entry.program).second; });
    return kept;
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
    std::size_t room = wire::maxPrograms;
    std::vector<Program> programs;
    for (const PatEntry& entry : entries) {
        if (entry.program != 0 && room == 0) {
            continue;
        }
        room -= entry.program != 0 ? 1 : 0;
        const auto same = std::ranges::find_if(before, [&](const Program& program) {
            return program.number == entry.program && program.pmtPid == entry.pid;
        });
        programs.push_back({entry.program, entry.pid, same == before.end() ? std::nullopt : same->map});
    }
    return programs;
}

} // namespace board
