#include <csignal>
#include <string_view>
#include <tuple>
#include <vector>

#include "json/json.h"
#include "json/memory.h"
#include "platform/environment.h"
#include "platform/local_clock.h"
#include "server/handle.h"
#include "server/http_mode.h"
#include "server/settings.h"
#include "server/stdio.h"
#include "store/recording.h"

int main(int argc, char** argv) {
    // These two would end the process. Ignored, they are errors of a write.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    tovra::json::returnFreedMemory();
    // What the parser prepares once cannot be prepared when memory is short.
    std::ignore = tovra::json::parse("{}");
    tovra::readTimeZone();

    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const tovra::Settings settings =
        tovra::readSettings(arguments, tovra::environmentVariable("TOVRA_MCP_TOKEN"));
    if (settings.httpPort) {
        const auto handle = [readOnly = settings.readOnly](tovra::json::Value message) {
            return tovra::handle(message, readOnly);
        };
        return tovra::runHTTP(*settings.httpPort, settings.authToken, handle,
                              tovra::finishRecordings);
    }
    return tovra::runStdio(settings.readOnly);
}
