#include "boardError.h"
#include "options.h"

#include "companions/console.h"
#include "companions/standardDescriptors.h"
#include "companions/stopSignals.h"

#include <exception>

namespace {

using namespace board;

// Each returns the exit status.
int start(const PlayOptions& options) {
    return play(options);
}

int start(const PrintOptions& options) {
    return printRecords(options);
}

int start(const RecordOptions& options) {
    record(options);
    return 0;
}

int start(const ReplayOptions& options) {
    replay(options);
    return 0;
}

int run(int argumentCount, char** arguments) {
    try {
        if (const auto options = parseOptions(argumentCount, arguments)) {
            companions::stopOnSignals();
            return std::visit([](const auto& task) { return start(task); }, *options);
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
    companions::openStandardDescriptors();
    companions::outliveReaders();
    const int status = run(argumentCount, arguments);
    sayAllThatWasLeftOut();
    return status;
}
