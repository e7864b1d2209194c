#include "store/data_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <tuple>

#include "platform/user_directories.h"
#include "support/test_environment.h"

namespace tovra {
namespace {

using namespace std::string_literals;

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
}

}  // namespace
}  // namespace tovra
