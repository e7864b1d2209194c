#include "server/handle.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <utility>

#include "tests/support/golden.h"

// How many allocations of this thread succeed before one fails; negative: none does. Were the
// functions inlined, GCC would take each for mismatched with the other.
static thread_local int allocationsLeft = -1;

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocationsLeft >= 0 && allocationsLeft-- == 0 ? nullptr : std::malloc(size);
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
            EXPECT_TRUE(said.ends_with(R"(Nothing was changed."}],"isError":true}})")) << said;
        }
    }
}

TEST(Handle, TellsWhetherTheFileWasChangedWhereverMemoryRunsOut) {
    const auto message = json::parse(
        R"({"id":1,"method":"tools/call","params":{"name":"add_transaction","arguments":)"
        R"({"amount":1,"payee":"Somebody with a name of some length"}}})");
    bool failed = true;
    for (int succeeding = 0; failed; ++succeeding) {
        const support::DataFileScope data("{}");
        allocationsLeft = succeeding;
        const std::string said = handle(message->root(), false).value();
        failed = std::exchange(allocationsLeft, -1) < 0;
        const bool isSaidUnchanged = said.find("Nothing was changed") != std::string::npos;
        EXPECT_EQ(support::fileBytes(data.path()) == "{}", isSaidUnchanged) << succeeding << said;
        const std::filesystem::directory_iterator files(data.path().parent_path());
        EXPECT_EQ(std::distance(files, {}), 1) << succeeding << said;
    }
}

}  // namespace
}  // namespace tovra
