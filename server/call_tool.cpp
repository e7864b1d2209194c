#include "server/call_tool.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <new>

#include "store/recording.h"

namespace tovra {
namespace {

// The places of the reports that run at once; "locked" by who takes one of them. Each report holds
// a whole document, and more at once would not be done sooner. A recording needs no place: it has
// its turn in changeDataFile(). (A semaphore of the C++ library of GCC 12 may let a thread sleep
// although a place is free.)
class ReportPlaces {
  public:
    void lock() {
        std::unique_lock lock(mutex_);
        freed_.wait(lock, [&] { return free_ > 0; });
        --free_;
    }
    void unlock() {
        const std::lock_guard lock(mutex_);
        ++free_;
        freed_.notify_one();
    }

  private:
    std::mutex mutex_;
    std::condition_variable freed_;
    int free_ = 4;
};

ToolResult run(const ToolDefinition& tool, json::Value arguments) {
    static ReportPlaces places;
    std::unique_lock place(places, std::defer_lock);
    if (tool.access == Access::reads) place.lock();
    try {
        return {tool.operation(arguments), false};
    } catch (const RecordingError& error) {
        return {std::string("Error: ") + error.what(), true};
    }
}

}  // namespace

ToolResult callTool(std::string_view name, json::Value arguments, bool readOnly,
                    const Catalogue& offered) {
    const auto tool = std::find_if(offered.tools.begin(), offered.tools.end(),
                                   [&](const ToolDefinition& it) { return it.name == name; });
    if (tool == offered.tools.end()) {
        return {"Unknown tool: " + std::string(name), true};
    }
    if (!isOffered(*tool, readOnly)) {
        return {"This Tovra connector is read-only; " + std::string(name) + " is disabled.", true};
    }
    // Made before the call, since there may be no memory for it when it is needed.
    const RecordingError problem(
        "There is not enough memory for this call, or too many files are open",
        tool->access == Access::writes ? After::unknown : After::unchanged);
    ToolResult shortage{std::string("Error: ") + problem.what(), true};
    try {
        return run(*tool, arguments);
    } catch (const std::bad_alloc&) {
        return shortage;
    }
}

}  // namespace tovra
