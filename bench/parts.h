// The parts of the comparison. Each prints its rows and may be run alone.
#pragma once

#include "bench/workplace.h"

namespace tovra::bench {

// A call of each report beside reading and parsing its file.
void compareReports(const Workplace& workplace);
// A recording beside reading, parsing, writing and replacing its file.
void compareRecordings(const Workplace& workplace);
// What the process holds at rest, at its peak and afterwards, beside the size of the file.
void measureMemory(const Workplace& workplace);
// The time from the start of the process to its first answer beside a program that does nothing.
void compareStart(const Workplace& workplace);
// A report on a larger file beside the same report on a smaller one.
void compareSizes(const Workplace& workplace);
// Requests over HTTP beside the same requests to a server that always gives the same answer.
void compareHttp(const Workplace& workplace);

}  // namespace tovra::bench
