// The messages of the Model Context Protocol: one request in, at most one response out.
#pragma once

#include <optional>
#include <string>

#include "json/json.h"
#include "server/catalogue.h"

namespace tovra {

// Answers one JSON-RPC message, a JSON object, with the compact JSON text of the response. Nothing
// for a message that gets none: a notification, or one without a method. A tool that is called
// without an id runs all the same. Keeps nothing between messages; may be called from several
// threads.
//
// A call that there is no memory for gets a result with the error flag. Throws std::bad_alloc, and
// nothing else, where there is no memory to begin; then nothing was done. The response to a call
// has room for http::kHeadRoom bytes more, so that a transport needs no memory to send it.
[[nodiscard]] std::optional<std::string> handle(json::Value message, bool readOnly,
                                                const Catalogue& offered = catalogue());

}  // namespace tovra
