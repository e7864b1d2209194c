#include "server/handle.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <tuple>
#include <utility>

#include "http/request.h"
#include "tests/support/golden.h"

// How many allocations of this thread succeed before one fails, or before all do from there on;
// negative: none fails. Were the functions inlined, GCC would take each for mismatched with the
// other.
static thread_local int allocationsLeft = -1;
static thread_local bool allFromThereOn = false;

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (allocationsLeft < 0) return std::malloc(size);
    if (allocationsLeft == 0 && allFromThereOn) return nullptr;
    return allocationsLeft-- == 0 ? nullptr : std::malloc(size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace tovra {
namespace {

// The response with its members in a fixed order; "null" when there is none.
std::string answer(json::Value message, bool readOnly) {
    const auto response = handle(message, readOnly);
    return response ? test::compact(json::parse(*response).value().root()) : "null";
}

TEST(Handle, AnswersMessagesAsWritten) {
    const test::Golden golden("server/golden/messages.json");
    golden.allowOnly(golden.root(), {"about", "recording", "read-only"});
    const support::DataFileScope data(R"({"goals":[{}]})");
    for (const std::string mode : {"recording", "read-only"}) {
        for (const json::Value exchange : golden.each(golden.root(), mode)) {
            const auto trace = golden.trace(exchange);
            const json::Children both = exchange.children();
            EXPECT_EQ(answer(both[0], mode == "read-only"), test::compact(both[1])) << mode;
        }
    }
}

TEST(Handle, ListsTheToolsOfTheMode) {
    const test::Golden golden("server/golden/tools_list.json");
    const std::string all = test::compact(golden.root());
    const std::string reports = all.substr(0, all.find(R"(,{"description":"Log)")) + "]";
    const auto request = json::parse(R"({"id":1,"method":"tools/list","params":{"cursor":"x"}})");
    for (const bool readOnly : {false, true}) {
        EXPECT_EQ(
            answer(request->root(), readOnly),
            R"({"id":1,"jsonrpc":"2.0","result":{"tools":)" + (readOnly ? reports : all) + "}}");
    }
}

// While one exists, this process can open no more files.
class NoDescriptors {
  public:
    NoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const int next = ::dup(0);
        ::close(next);
        rlimit none = before_;
        none.rlim_cur = static_cast<rlim_t>(next);
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

TEST(Handle, SaysThatAFileCouldNotBeOpenedForWantOfDescriptors) {
    const support::TemporaryFolder home;
    const support::EnvironmentScope homeScope("HOME", home / "");
    const support::EnvironmentScope configScope("XDG_CONFIG_HOME", {});
    for (const std::optional<std::string>& file :
         {std::optional<std::string>(home / "data.json"), std::optional<std::string>()}) {
        const support::EnvironmentScope variable("TOVRA_DATA_FILE", file);
        for (const std::string tool : {"get_overview", "list_goals", "add_transaction"}) {
            const auto message = json::parse(R"({"id":1,"method":"tools/call","params":{"name":")" +
                                             tool + R"(","arguments":{"amount":1}}})");
            const NoDescriptors none;
            const std::string said = handle(message->root(), false).value();
            EXPECT_TRUE(said.find("oo many ") < said.size()) << said;
            EXPECT_TRUE(said.ends_with(R"("}],"isError":true}})")) << said;
        }
    }
}

TEST(Handle, LeavesRoomForTheHeadOfAResponseWhateverItsLength) {
    for (std::size_t length = 0; length < 5000; length += 50) {
        const auto message = json::parse(R"({"id":1,"method":"tools/call","params":{"name":")" +
                                         std::string(length, 'n') + "\"}}");
        const std::string response = handle(message->root(), false).value();
        EXPECT_GE(response.capacity() - response.size(), http::kHeadRoom) << length;
    }
}

// The response over HTTP where memory runs out after so many allocations; empty where there is not
// even enough to begin. Whether it has run out at all goes to `ranOut`.
std::string responseInShortage(const http::Request& request, int succeeding, bool& ranOut) {
    allocationsLeft = succeeding;
    std::string response;
    try {
        response = http::processRequest(request,
                                        [](json::Value message) { return handle(message, false); });
    } catch (const std::bad_alloc&) {
    }
    ranOut = std::exchange(allocationsLeft, -1) <= 0;
    return response;
}

TEST(Handle, TellsOfARecordingOverHttpWhereverMemoryRunsOut) {
    const auto check = [](const std::string& message, const std::string& success, int succeeding) {
        const support::DataFileScope data("{}");
        bool ranOut = false;
        const std::string said =
            responseInShortage({http::Request::Verdict::post, message}, succeeding, ranOut);
        const auto says = [&](std::string_view text) {
            return said.find(text) != std::string::npos;
        };
        const bool isRecorded = support::fileBytes(data.path()) != "{}";
        EXPECT_TRUE(isRecorded ? says(success) || says("may have been") : !says("Added")) << said;
        EXPECT_FALSE(isRecorded && says("Nothing was changed")) << said;
        const std::filesystem::directory_iterator files(data.path().parent_path());
        EXPECT_EQ(std::distance(files, {}), 1) << said;
        return ranOut;
    };
    const std::string call = R"("method":"tools/call","params":{"name":"add_transaction",)"
                             R"("arguments":{"amount":1,"payee":")";
    const std::string longPayee(5000, 'p');
    std::ignore = json::parse("{}");  // the first parse must not fail, see main()
    for (const auto& [message, success] :
         {std::pair{"{" + call + "A shop\"}}}", "202 Accepted"},
          {"{\"id\":1," + call + "A shop\"}}}", "Added: "},
          {"{\"id\":1," + call + longPayee + "\"}}}", "Added: "}}) {
        for (const bool all : {false, true}) {
            allFromThereOn = all;
            int succeeding = 0;
            while (check(message, success, succeeding)) ++succeeding;
            EXPECT_GT(succeeding, 50);
        }
    }
}

}  // namespace
}  // namespace tovra
