#include "store/data_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <tuple>

#include "platform/user_directories.h"
#include "store/recording.h"
#include "support/test_environment.h"

namespace tovra {
namespace {

using namespace std::string_literals;

Change changeNothing(const DataSnapshot& /*file*/) { return {{}, "Recorded"}; }

TEST(DataFile, IsFoundByVariableThenPreferenceThenFallback) {
    const support::TemporaryFolder home;
    const support::EnvironmentScope homeScope("HOME", home / "");
    const support::EnvironmentScope dataScope("XDG_DATA_HOME", "relative/is/no/base");
    const support::EnvironmentScope configScope("XDG_CONFIG_HOME", home / "config");
    const auto found = [](const std::optional<std::string>& variable) {
        const support::EnvironmentScope scope("TOVRA_DATA_FILE", variable);
        return dataFileURL().string();
    };
    const std::string fallback = (applicationSupportDirectory() / "Pennyloft/data.json").string();
    EXPECT_TRUE(fallback.starts_with((home / "").string())) << fallback;
    EXPECT_EQ(found({}), fallback);
#ifndef __APPLE__
    const auto preferences = home / "config/com.local.pennyloft/preferences.json";
    for (const auto& [text, expected, isBroken] :
         {std::tuple(R"({"tovra.syncDir":"/no/such dir"})", "/no/such dir/data.json"s, false),
          {R"({"tovra.syncDir":""})", fallback, false},
          {R"({"tovra.syncDir":7})", fallback, false},
          {R"({"tovra.syncDir":"/cut)", fallback, true},
          {"", fallback, true}}) {
        support::writeFile(preferences, text);
        EXPECT_EQ(found(""), expected) << text;
        EXPECT_EQ(locateDataFile().preferencesProblem.has_value(), isBroken) << text;
        const support::EnvironmentScope scope("TOVRA_DATA_FILE", {});
        const auto record = [] { return changeDataFile(changeNothing); };
        if (isBroken) {
            EXPECT_THROW(std::ignore = record(), RecordingError) << text;
        } else {
            EXPECT_EQ(record(), "Recorded") << text;
        }
        EXPECT_EQ(found(" ~/x y"), " ~/x y") << text;
    }
    // What is half-written is read again.
    std::thread writer([&] {
        ::usleep(90000);
        support::writeFile(preferences, R"({"tovra.syncDir":"/whole"})");
    });
    EXPECT_EQ(found(""), "/whole/data.json");
    writer.join();
#endif
}

// The whole test in another process, under a user who has no account.
int stateWithoutHome() {
    if (::setuid(static_cast<uid_t>(0x7F000000 + ::getpid())) != 0) return 1;
    for (const char* const home : {"", "relative"}) {
        const support::EnvironmentScope scope("HOME", home);
        if (dataFileURL() != "/.local/share/Pennyloft/data.json") return 2;
        if (loadData().root().exists()) return 3;
        try {
            return changeDataFile(changeNothing).empty() ? 4 : 5;
        } catch (const RecordingError& error) {
            if (error.what() != "The home directory is not known. Nothing was changed."s) return 6;
        }
    }
    const support::EnvironmentScope named("TOVRA_DATA_FILE", "/named/data.json");
    return changeDataFile(changeNothing) == "Recorded" ? 0 : 7;
}

TEST(DataFile, IsNoneThatARecordingMayUseWhereNoHomeIsKnown) {
#ifdef __APPLE__
    GTEST_SKIP() << "the folders have other names";
#endif
    if (::getuid() != 0) GTEST_SKIP() << "only the superuser can become somebody else";
    const support::EnvironmentScope variable("TOVRA_DATA_FILE", {});
    const support::EnvironmentScope data("XDG_DATA_HOME", {});
    const support::EnvironmentScope config("XDG_CONFIG_HOME", {});
    EXPECT_EXIT(std::_Exit(stateWithoutHome()), testing::ExitedWithCode(0), "");
}

TEST(DataFile, IsEmptyWhenItCannotBeReadOrHoldsNoObject) {
    const support::TemporaryFolder folder;
    support::writeFile(folder / "array", R"([{"a":1}])");
    support::writeFile(folder / "plain", "{}");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("loop", folder / "loop");
    std::filesystem::create_symlink("plain", folder / "link");
    for (const std::string name : {"array", "missing", "", "plain/below", "pipe", "loop", "link"}) {
        const support::EnvironmentScope scope("TOVRA_DATA_FILE", folder / name);
        EXPECT_EQ(loadData().root().exists(), name == "link") << name;
    }
    std::filesystem::resize_file(folder / "plain", json::kMaxSize + 1);
    const support::EnvironmentScope scope("TOVRA_DATA_FILE", folder / "plain");
    EXPECT_THROW(std::ignore = loadData(), std::bad_alloc);
}

}  // namespace
}  // namespace tovra
