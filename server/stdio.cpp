#include "server/stdio.h"

#include <optional>
#include <string>
#include <string_view>

#include "json/json.h"
#include "platform/line_io.h"
#include "platform/reader_watch.h"
#include "platform/signals.h"
#include "server/handle.h"
#include "store/recording.h"

namespace tovra {
namespace {

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;

// The whole document of a message goes away before the next line is read.
std::optional<std::string> answer(std::string_view line, bool readOnly) {
    const auto message = json::parse(line);
    if (!message || !message->root().is(json::Kind::object)) return std::nullopt;
    return handle(message->root(), readOnly);
}

}  // namespace

void runStdio(bool readOnly) {
    recordOnlyWhile([] { return hasReader(kStandardOutput) && !isEndSignalPending(); });
    LineReader input(kStandardInput);
    while (const auto line = input.next()) {
        if (!awaitReader(kStandardOutput)) return;
        // Until the answer is written: what is recorded is answered, too.
        const SignalHold hold;
        auto response = answer(*line, readOnly);
        if (!response) continue;
        *response += '\n';
        if (!writeToReader(kStandardOutput, *response)) return;
    }
}

}  // namespace tovra
