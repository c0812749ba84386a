#include "boardError.h"
#include "options.h"
#include "playback.h"
#include "replay/recorder.h"
#include "stop.h"
#include "tables/psiTables.h"

#include <cstdio>
#include <exception>
#include <vector>

int main(int argc, char** argv) {
    try {
        const std::vector<char*> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        const board::Options options = board::parseOptions(arguments);
        if (options.help) {
            std::fputs(board::usage().c_str(), stdout);
            return 0;
        }
        board::stopOnSignals();
        board::initialiseLibraries();
        if (!options.record.empty()) {
            board::record(options);
        } else if (!options.replay.empty()) {
            board::replay(options);
        } else if (options.print) {
            board::printRecords(options);
        } else {
            board::play(options);
        }
    } catch (const std::exception& problem) {
        board::say(problem.what());
        return 1;
    }
    return 0;
}
