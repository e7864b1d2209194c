// The standard-input transport: one message a line in, one response a line out.
#pragma once

namespace tovra {

// Answers the messages on standard input, strictly one after another, until it ends or standard
// output is closed. A line that is no JSON object, and a message that gets no response, is passed
// over in silence.
void runStdio(bool readOnly);

}  // namespace tovra
