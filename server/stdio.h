// The standard-input transport: one message a line in, one response a line out.
#pragma once

namespace tovra {

// Answers the messages on standard input, strictly one after another, until it ends or standard
// output is closed. A line that is no JSON object, one that there is no memory for, and a message
// that gets no response, is passed over in silence.
//
// Returns the status with which the process is to end: 0, or 1 where an answer could not be written
// for another reason than that nobody reads it.
[[nodiscard]] int runStdio(bool readOnly);

}  // namespace tovra
