#include "server/call_tool.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>

#include "server/catalogue.h"
#include "store/recording.h"

namespace tovra {
namespace {

// A place among the reports that run at once. Each holds a whole document, and more at once would
// not be done sooner. Recordings need no place: they have their turn in changeDataFile().
class Place {
  public:
    explicit Place(Access access) : isTaken_(access == Access::reads) {
        if (!isTaken_) return;
        std::unique_lock lock(places().mutex);
        places().freed.wait(lock, [] { return places().free > 0; });
        --places().free;
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() {
        if (!isTaken_) return;
        const std::lock_guard lock(places().mutex);
        ++places().free;
        places().freed.notify_one();
    }

  private:
    struct Places {
        std::mutex mutex;
        std::condition_variable freed;
        int free = 4;
    };
    static Places& places() {
        static Places places;
        return places;
    }

    bool isTaken_;
};

// Memory that is set aside during a call, and freed for its result. The result can then be said
// even where the call has used up all the rest.
std::unique_ptr<char[]> setMemoryAside() {
    constexpr std::size_t kSize = std::size_t{64} * 1024;
    return std::make_unique_for_overwrite<char[]>(kSize);
}

ToolResult run(const ToolDefinition& tool, json::Value arguments) {
    const Place place(tool.access);
    const auto aside = setMemoryAside();
    try {
        return {tool.operation(arguments), false};
    } catch (const RecordingError& error) {
        return {std::string("Error: ") + error.what(), true};
    }
}

}  // namespace

ToolResult callTool(std::string_view name, json::Value arguments, bool readOnly) {
    const auto catalogue = tools();
    const auto tool = std::find_if(catalogue.begin(), catalogue.end(),
                                   [&](const ToolDefinition& it) { return it.name == name; });
    if (tool == catalogue.end()) {
        return {"Unknown tool: " + std::string(name), true};
    }
    if (!isOffered(*tool, readOnly)) {
        return {"This Tovra connector is read-only; " + std::string(name) + " is disabled.", true};
    }
    try {
        return run(*tool, arguments);
    } catch (const std::bad_alloc&) {
        return {
            "Error: There is not enough memory for this call, or too many files are open. "
            "Nothing was changed.",
            true};
    }
}

}  // namespace tovra
