// Rates and scrambling of the services, written into the SDT record for the program list.
#pragma once

namespace mpegfe {

// Writes allScrambled and rate of each service and scrambledCount and aggregateRate into the newest SDT
// record, and prints a line for the table and one for each service. Services belong to the AVPGM record's
// programs and to programRates by place alone, the network entry skipped.
void printSdtSummary();

} // namespace mpegfe
