// The stream model and its documents a second time, for the tests alone: written from the
// layouts of the records and the forms of the documents, without sight of the service's code, as plainly as
// it goes (strings, maps, printf), to be read beside it. referenceTest compares the two.
//
// Counts and codes that point outside a record are cut, read as 0 or shown as "Unknown" as in the service.
#pragma once

#include "recordViews.h"

#include <map>
#include <string>
#include <vector>

namespace reference {

// One row of the PID table.
struct PidRow {
    int patIndex = 0;
    int pidOrder = 0;
    int pidNum = 0;
    int pidType = 0;
    int referencePid = 0;
    int pgmNum = 0;
    float pidRate = 0; // bit/s
    int scrambled = 0;
    std::string description;
};

// Everything the service keeps for the whole run, zero at start.
struct StreamModel {
    Records records;
    std::vector<PidRow> pidTable = std::vector<PidRow>(256);
    std::vector<float> programRates = std::vector<float>(60); // bit/s
    float aggStreamRate = 0;                                  // bit/s
    std::string console;                                      // what was printed
};

// Rebuilds the PID table and the rates from the records. Returns 1 when it wrote an artificial SDT, else 0.
int collectPids(StreamModel& model, int programCount);

// Writes rates and scrambling into the SDT record and prints its services.
void printSdtSummary(StreamModel& model);

// The documents. Those of the PSI tables stamp the table's record with its PID's rate first.
std::string pidListDocument(StreamModel& model);
std::string programListDocument(StreamModel& model);
std::string programDetailDocument(StreamModel& model, int programIndex);
std::string psiDocument(StreamModel& model, int pid);

// What the parts share: a count from a record cut to 0 to most; a PID's place in the PID list, -1 if it has
// none; the rate measured at a place, 0 behind the last of 128, and the bytes before the first at -1.
int cut(int count, int most);
int placeOf(StreamModel& model, int pid);
float rateAt(StreamModel& model, int place);

} // namespace reference
