#include "server/stdio.h"

#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "json/json.h"
#include "platform/lines.h"
#include "platform/output.h"
#include "platform/signals.h"
#include "server/handle.h"
#include "store/recording.h"

namespace tovra {
namespace {

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;

// The line that answers this one. A message that there is no memory for gets none.
std::optional<std::string> answer(std::string_view line, bool readOnly, const Catalogue& offered) {
    try {
        const auto message = json::parse(line);
        if (!message || !message->root().is(json::Kind::object)) return std::nullopt;
        auto response = handle(message->root(), readOnly, offered);
        if (response) *response += '\n';
        return response;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

}  // namespace

int runStdio(bool readOnly, const Catalogue& offered) {
    recordOnlyWhile([] { return hasReader(kStandardOutput) && !isEndSignalPending(); });
    LineReader input(kStandardInput);
    while (const auto line = input.next()) {
        if (!awaitReader(kStandardOutput)) return 0;
        // No signal ends the process between a recording and its answer.
        const SignalHold hold;
        const auto response = answer(*line, readOnly, offered);
        if (!response) continue;
        if (const std::error_code error = writeToReader(kStandardOutput, *response)) {
            // A host that reads no more has ended the session, which is no failure.
            return error == std::errc::broken_pipe ? 0 : 1;
        }
    }
    return 0;
}

}  // namespace tovra
