#include "analysis/settling.h"

#include <algorithm>

namespace board {

namespace {

bool isScrambled(const StreamModel& model, std::uint16_t pid) {
    const auto state = std::ranges::find(model.pids, pid, &PidState::pid);
    return state != model.pids.end() && state->scrambled;
}

// Scrambled video keeps its format to itself.
bool formatsKnown(const StreamModel& model, const ProgramMap& map) {
    return std::ranges::all_of(map.streams, [&](const ElementaryStream& stream) {
        return stream.kind != StreamKind::video || model.videoFormats.contains(stream.pid) ||
               isScrambled(model, stream.pid);
    });
}

} // namespace

bool everythingKnown(const StreamModel& model, bool namesAreWhole, bool ratesMeasured) {
    return namesAreWhole && ratesMeasured && model.services &&
           std::ranges::all_of(model.programs, [&](const Program& program) {
               return program.number == 0 || (program.map && formatsKnown(model, *program.map));
           });
}

} // namespace board
