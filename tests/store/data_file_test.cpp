#include "store/data_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/user_directories.h"
#include "tests/support/scopes.h"

namespace tovra {
namespace {

TEST(DataFile, IsFoundByVariableThenPreferenceThenFallback) {
    const test::TemporaryFolder home;
    const test::EnvironmentScope homeScope("HOME", home / "");
    const test::EnvironmentScope dataScope("XDG_DATA_HOME", "relative/is/no/base");
    const test::EnvironmentScope configScope("XDG_CONFIG_HOME", home / "config");
    const auto found = [](const std::optional<std::string>& variable) {
        const test::EnvironmentScope scope("TOVRA_DATA_FILE", variable);
        return dataFileURL().string();
    };
    const std::string fallback = (applicationSupportDirectory() / "Pennyloft/data.json").string();
    EXPECT_TRUE(fallback.starts_with((home / "").string())) << fallback;
    EXPECT_EQ(found({}), fallback);
#ifndef __APPLE__
    for (const auto& [text, expected] :
         {std::pair{R"({"tovra.syncDir":"/no/such dir"})", std::string("/no/such dir/data.json")},
          {R"({"tovra.syncDir":""})", fallback},
          {R"({"tovra.syncDir":7})", fallback}}) {
        test::writeFile(home / "config/com.local.pennyloft/preferences.json", text);
        EXPECT_EQ(found(""), expected) << text;
        EXPECT_EQ(found(" ~/x y"), " ~/x y") << text;
    }
#endif
}

TEST(DataFile, IsEmptyWhenItCannotBeReadOrHoldsNoObject) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "array", R"([{"a":1}])");
    test::writeFile(folder / "plain", "{}");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("loop", folder / "loop");
    std::filesystem::create_symlink("plain", folder / "link");
    for (const std::string name : {"array", "missing", "", "plain/below", "pipe", "loop", "link"}) {
        const test::EnvironmentScope scope("TOVRA_DATA_FILE", folder / name);
        EXPECT_EQ(loadData().root().exists(), name == "link") << name;
    }
}

}  // namespace
}  // namespace tovra
