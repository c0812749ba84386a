// Streams that the benches work on, put into the service's own record store, and the records as the parser
// board publishes them.
#pragma once

#include "serviceNames.h"
#include "wire/topics.h"

#include <span>
#include <vector>

// What a stream is made of.
struct StreamShape {
    int pids;             // in the PID list, PAT, CAT, NIT, SDT, EIT and TDT first, the null PID last
    int programs;         // behind the network entry, unless they need all 59 slots of the PMT record
    int audioTracks;      // of each program
    int privatePids;      // of each program
    int ecmPids;          // of each program
    bool listsComponents; // false: the PID list holds none of the programs' PIDs, so each search reads all of
                          // it
};

// Fills the newest records with a stream of this shape: rates of every size, names of usual length.
void loadStream(const StreamShape& shape);

// A stream of 108 PIDs and 20 programs, its tables at their fullest: 60 services, 60 events, 10 CA systems,
// 10 network descriptors.
void loadFullTables();

// The same with 60 programs in the PAT, for its document: most of them have no PMT.
void loadFullPat();

// A published message, but for its second part, which nobody uses.
struct PublishedRecord {
    const Topic* topic;
    std::vector<char> bytes;
};

// The newest records of these topics as they stand now.
std::vector<PublishedRecord> publishedNow(std::span<const Topic> wanted);

// All nine topics twice: their newest records as they stand now, and the same once more or, if they are
// changing, each with another last byte, so that whoever compares two reads them to their end either way.
std::vector<PublishedRecord> twoRotations(bool changing);
