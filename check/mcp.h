// The check as a server of its own, for an assistant that sees no data.
#pragma once

#include "server/catalogue.h"

namespace tovra::check {

// One tool, which reads: what the check finds, in the environment in which it was started.
[[nodiscard]] Catalogue checkCatalogue();

}  // namespace tovra::check
