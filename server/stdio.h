// The standard-input transport: one message a line in, one response a line out.
#pragma once

#include "server/catalogue.h"

namespace tovra {

// Answers the messages on standard input, strictly one after another, until it ends or standard
// output has no reader. Passes over in silence what is no JSON object, what there is no memory for,
// and messages that get no response.
//
// Returns the status with which the process is to end. That is 0, or 1 where an answer could not be
// written although somebody reads.
[[nodiscard]] int runStdio(bool readOnly, const Catalogue& offered = catalogue());

}  // namespace tovra
