#include "target.h"

#include "check.h"
#include "comparison.h"

#include <cstdio>
#include <utility>

void beginRun(scriptedZmq::Peers peers) {
    static const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
    check(silent, "the console goes nowhere");
    reference::clearService();
    scriptedZmq::begin(std::move(peers));
}
