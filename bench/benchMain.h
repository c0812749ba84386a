// What the bench programs share: the service's console out of the way, the figures on standard error.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

// The service prints to standard output a line at a time, as it always does; nobody reads it here.
inline void sendConsoleNowhere() {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::perror("bench: /dev/null cannot be opened");
        std::exit(1);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

// Takes the first count arguments, the files that the program works with, from its command line. Ends it when
// there are not as many.
inline std::vector<std::string> takeFiles(int& argc, char** argv, int count) {
    if (argc <= count) {
        std::fprintf(stderr, "%s needs %d files: see the top of its source\n", argv[0], count);
        std::exit(2);
    }
    const std::vector<std::string> files(argv + 1, argv + 1 + count);
    std::rotate(argv + 1, argv + 1 + count, argv + argc);
    argc -= count;
    return files;
}

// Runs what has been registered and reports on standard error, and to the file of --benchmark_out.
inline int runBenchmarks(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
