#include "store/data_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "store/fields.h"
#include "tests/support/scopes.h"

namespace tovra {
namespace {

using namespace std::string_literals;

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
    EXPECT_EQ(found(" ~/x y"), " ~/x y");
#ifndef __APPLE__
    const auto withPreferences = [&](const char* text) {
        test::writeFile(home / "config/com.local.pennyloft/preferences.json", text);
        EXPECT_EQ(found("/a/b.json"), "/a/b.json") << text;
        EXPECT_EQ(found(""), found({})) << text;
        return found({});
    };
    EXPECT_EQ(withPreferences(R"({"tovra.syncDir":"/no/such dir"})"), "/no/such dir/data.json");
    EXPECT_EQ(withPreferences(R"({"tovra.syncDir":" "})"), " /data.json");
    for (const char* text : {R"({"tovra.syncDir":""})", R"({"tovra.syncDir":7})", "[]", ""}) {
        EXPECT_EQ(withPreferences(text), fallback) << text;
    }
#endif
}

TEST(DataFile, IsReadAfreshAndEmptyWhenItHoldsNoObject) {
    const test::DataFile file("");
    for (const auto& text : {""s, "[]"s, "42"s, "null"s, "no JSON"s, "{\"a\":1"s, "{\"a\":1}\0"s,
                             "\xEF\xBB\xBF{\"a\":1}"s, "{\"a\":\"\xFF\"}"s, "[{\"a\":1}]"s}) {
        test::writeFile(file.path(), text);
        EXPECT_FALSE(loadData().root().exists()) << testing::PrintToString(text);
        test::writeFile(file.path(), R"({"a":1})");
        EXPECT_EQ(numberField(loadData().root(), "a"), 1);
    }
}

TEST(DataFile, IsEmptyWhenItCannotBeRead) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "plain", R"({"a":1})");
    test::writeFile(folder / "locked", R"({"a":1})");
    ASSERT_EQ(::chmod((folder / "locked").c_str(), 0), 0);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("loop", folder / "loop");
    std::filesystem::create_symlink("plain", folder / "link");
    for (const char* name : {"missing", "", "plain/below", "locked", "pipe", "loop"}) {
        if (name == "locked"s && ::geteuid() == 0) continue;  // nothing is locked to root
        const test::EnvironmentScope scope("TOVRA_DATA_FILE", folder / name);
        EXPECT_FALSE(loadData().root().exists()) << name;
    }
    const test::EnvironmentScope scope("TOVRA_DATA_FILE", folder / "link");
    EXPECT_TRUE(loadData().root().exists());
}

}  // namespace
}  // namespace tovra
