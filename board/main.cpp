#include "boardError.h"
#include "options.h"

#include "companions/console.h"
#include "companions/stopSignals.h"

#include <exception>

namespace {

using namespace board;

void start(const PlayOptions& options) {
    play(options);
}

void start(const PrintOptions& options) {
    printRecords(options);
}

void start(const RecordOptions& options) {
    record(options);
}

void start(const ReplayOptions& options) {
    replay(options);
}

int run(int argumentCount, char** arguments) {
    try {
        if (const auto options = parseOptions(argumentCount, arguments)) {
            companions::stopOnSignals();
            std::visit([](const auto& task) { start(task); }, *options);
        }
    } catch (const OutputUnread&) {
        return cannotGoOn;
    } catch (const companions::Failure& failure) {
        say(failure.what());
        return failure.exitStatus();
    } catch (const std::exception& problem) {
        say(problem.what());
        return cannotGoOn;
    }
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    companions::outliveReaders();
    const int status = run(argumentCount, arguments);
    sayAllThatWasLeftOut();
    return status;
}
