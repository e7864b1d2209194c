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

int main(int argc, char** argv) {
    // These two would end the process. Ignored, they are errors of a write.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    tovra::json::returnFreedMemory();
    // The first parse chooses how to scan and allocates for it. Later there may be no memory.
    std::ignore = tovra::json::parse("{}");
    tovra::readTimeZone();

    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const tovra::Settings settings =
        tovra::readSettings(arguments, tovra::environmentVariable("TOVRA_MCP_TOKEN"));
    if (settings.httpPort) {
        const auto handle = [readOnly = settings.readOnly](tovra::json::Value message) {
            return tovra::handle(message, readOnly);
        };
        return tovra::runHTTP(*settings.httpPort, settings.authToken, handle);
    }
    return tovra::runStdio(settings.readOnly);
}
