#include "check/examination.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <map>
#include <set>

#include "check/hosts.h"
#include "check/layout.h"
#include "store/fields.h"
#include "support/child_process.h"
#include "tests/support/golden.h"
#include "tests/support/table.h"

namespace tovra::check {
namespace {

namespace fs = std::filesystem;

constexpr Instant kNow = 1795608000;  // 2026-11-25T12:00:00Z

// A folder with the file of a case, and what else lies there. It is the current one meanwhile.
class Scene {
  public:
    explicit Scene(json::Value row) {
        fs::current_path(folder());
        const json::Value file = row.member("file");
        if (file.exists()) {
            support::writeFile(folder_ / "data.json", file.string().value_or(test::compact(file)));
        }
        for (const json::Value name : row.member("beside").children()) {
            support::writeFile(folder_ / std::string(asString(name)), "");
        }
        fs::create_symlink("loop", folder_ / "loop");
        fs::create_symlink("none/data.json", folder_ / "away");
        EXPECT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    }

    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    ~Scene() { fs::current_path(before_); }

    [[nodiscard]] fs::path path(json::Value row) const {
        const std::string_view path = stringField(row, "path");
        if (path.empty()) return folder_ / "data.json";
        return support::replaced(path, "FOLDER", folder());
    }
    [[nodiscard]] std::string folder() const { return (folder_ / "").parent_path().string(); }

    // Every name in the folder, and the bytes of the data file.
    [[nodiscard]] std::string state() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder())) names.insert(entry.path());
        return testing::PrintToString(names) + support::fileBytes(folder_ / "data.json");
    }

  private:
    fs::path before_ = fs::current_path();
    support::TemporaryFolder folder_;
};

std::string listed(const std::vector<Finding>& findings, const Scene& scene) {
    std::string lines;
    for (const auto& [level, about, text] : findings) {
        lines += std::string(nameOf(level)) + " " + std::string(about) + ": " +
                 support::replaced(text, scene.folder(), "FOLDER") + "\n";
    }
    return lines;
}

DataFileLocation named(const fs::path& path) { return {path, DataFileLocation::Source::named}; }

std::string linesOf(json::Value strings) {
    std::string lines;
    for (const json::Value line : strings.children()) lines.append(asString(line)) += '\n';
    return lines;
}

TEST(Check, FindsWhatIsWrong) {
    const support::EnvironmentScope zone("TZ", "UTC");
    const test::Golden golden("check/golden/checks.json");
    for (const json::Value row : golden.each(golden.root(), "files")) {
        const auto trace = golden.trace(row, stringField(row, "case"));
        golden.allowOnly(row, {"case", "path", "file", "beside", "finds"});
        const Scene scene(row);
        const std::string before = scene.state();
        EXPECT_EQ(listed(examine(named(scene.path(row)), kNow).findings, scene),
                  linesOf(row.member("finds")));
        EXPECT_EQ(scene.state(), before);
    }
}

// What a test cannot bring about as every user and on every system.
TEST(Check, ExplainsTheReasonsOfTheSystem) {
    const std::map<std::string_view, int> reasons = {
        {"EACCES", EACCES}, {"EPERM", EPERM}, {"EDEADLK", EDEADLK}, {"EFBIG", EFBIG},
        {"EROFS", EROFS},   {"EIO", EIO},     {"ENOENT", ENOENT},   {"", 0}};
    const test::Golden golden("check/golden/checks.json");
    for (const json::Value row : golden.each(golden.root(), "places")) {
        const auto trace = golden.trace(row, stringField(row, "case"));
        const auto reason = [&](std::string_view name) {
            return std::error_code(reasons.at(stringField(row, name)), std::generic_category());
        };
        Surroundings file;
        file.path = file.target = file.missing = "/data.json";
        file.notReadable = reason("notReadable");
        file.notWritable = reason("notWritable");
        file.notReplaceable = reason("notReplaceable");
        file.drives = stringField(row, "drives");
        file.isOwn = boolField(row, "isOwn").value_or(true);
        DataFileLocation location;
        if (boolField(row, "brokenPreferences") == true) location.preferencesProblem = "Broken";
        const Content content = survey(golden.root().member("whole"), kNow);
        EXPECT_EQ(listed(findingsOf(location, file, {}, {}, content), Scene({})),
                  linesOf(row.member("finds")));
    }
}

TEST(Check, SuspectsADriveThatIsAway) {
    const Scene scene({});
    const fs::path folder = scene.folder();
    EXPECT_EQ(unmounted(folder / "disk/data.json", {"/no/such/folder", folder}), folder);
    EXPECT_EQ(unmounted(folder / "disk", {folder / "disks"}), "");
    // What is mounted is another file system.
    EXPECT_EQ(unmounted("/dev/fd/none", {"/"}), "");
    EXPECT_EQ(unmounted("/no such folder/data.json", {"/no such folder"}), "/no such folder");
}

// What preferences say, which systems other than Linux keep elsewhere, and what TZ says.
TEST(Check, LooksAtPreferencesAndTheTimeZone) {
    const support::EnvironmentScope file("TOVRA_DATA_FILE", std::nullopt);
    const support::EnvironmentScope data("XDG_DATA_HOME", std::nullopt);
    const test::Golden golden("check/golden/checks.json");
    for (const json::Value row : golden.each(golden.root(), "environments")) {
        const auto trace = golden.trace(row);
        golden.allowOnly(row, {"preferences", "zone", "chosenBy", "finds"});
        const Scene scene({});
        const std::string folder = scene.folder();
        const json::Value preferences = row.member("preferences");
        const support::EnvironmentScope home("HOME", folder);
        const support::EnvironmentScope configurations("XDG_CONFIG_HOME", folder);
        const json::Value zone = row.member("zone");
        const support::EnvironmentScope variable("TZ", std::string(zone.string().value_or("UTC")));
        support::writeFile(folder + "/.local/share/Pennyloft/data.json", "{\"accounts\":[{}]}");
        support::writeFile(folder + "/com.local.pennyloft/preferences.json",
                           preferences.string().value_or(
                               preferences.exists() ? test::compact(preferences) : "{}"));
        const Examination found = examine(locateDataFile(), kNow);
        const auto line = "chosen by      " + std::string(stringField(row, "chosenBy"));
        EXPECT_NE(asText(found, false).find(line), std::string::npos) << asText(found, false);
        auto findings = found.findings;
        std::erase_if(findings, [](const Finding& it) {
            return it.about == "wrong-type" || it.about == "no-rate";
        });
        EXPECT_EQ(listed(findings, scene), linesOf(row.member("finds")));
    }
}

std::string faultOf(const test::Row& row) {
    const support::TemporaryFolder folder;
    support::writeFile(folder / "data.json", row[1]);
    const auto fault = jsonFaultIn(folder / "data.json");
    if (!fault) return "none";
    std::string place = std::to_string(fault->line) + ":" + std::to_string(fault->column) + " ";
    return place.append(fault->reason);
}

TEST(Check, SaysWhereAFileStopsBeingJson) {
    test::expectTable("check/golden/faults.txt", {{"fault", faultOf}});
    // Whatever the parser refuses has a reason.
    test::expectTable("json/golden/stops.txt", {{"stops", [](const test::Row& row) {
                                                     EXPECT_FALSE(faultOf(row).ends_with(' '));
                                                     return row.back();
                                                 }}});
}

// The entries of the hosts below a home directory with that one file.
std::string hostLines(const std::string& at, const std::string& configuration) {
    const support::TemporaryFolder home;
    const std::string folder = (home / "").parent_path().string();
    const support::EnvironmentScope variable("HOME", folder);
    support::writeFile(home / at, support::replaced(configuration, "FOLDER", folder));
    support::writeFile(home / ".local/share/Pennyloft/data.json", "{}");
    std::string lines;
    for (const HostEntry& entry : lookAtHosts()) {
        if (entry.file != home / at) continue;
        lines += entry.host + ", " + entry.name + ": " + entry.starts;
        if (entry.dataFile) lines += " on " + entry.dataFile->path.string();
        lines += "\n";
        for (const auto& [level, about, text] : entry.findings) {
            EXPECT_FALSE(about.empty());
            lines += std::string(nameOf(level)) + ": " + text + "\n";
        }
    }
    return support::replaced(support::replaced(lines, TOVRA_SERVER, "SERVER"), folder, "FOLDER");
}

TEST(Check, ReadsWhatHostsAreConfiguredToStart) {
    const support::EnvironmentScope configurations("XDG_CONFIG_HOME", std::nullopt);
    const support::EnvironmentScope data("XDG_DATA_HOME", std::nullopt);
    const support::EnvironmentScope path("PATH", "/no/such/folder");
    const support::EnvironmentScope token("TOVRA_MCP_TOKEN", "s3cret");
    const test::Golden golden("check/golden/hosts.json");
    std::set<std::string> examples;
    for (const json::Value row : golden.each(golden.root(), "hosts")) {
        const auto trace = golden.trace(row);
        golden.allowOnly(row, {"example", "at", "mistake", "right", "finds"});
        const std::string example(stringField(row, "example"));
        examples.insert(example);
        std::string text = support::fileBytes(TOVRA_TESTS "/../examples/hosts/" + example);
        text = support::replaced(text, "/usr/local/bin/tovra-mcp", "SERVER");
        text = support::replaced(text, "choose-a-long-random-token", "my-own");
        const auto change = row.member("mistake").children();
        const std::string wrong = support::replaced(text, asString(change[0]), asString(change[1]));
        EXPECT_NE(wrong, text);
        const std::string at(stringField(row, "at"));
        EXPECT_EQ(hostLines(at, support::replaced(text, "SERVER", TOVRA_SERVER)),
                  linesOf(row.member("right")));
        EXPECT_EQ(hostLines(at, support::replaced(wrong, "SERVER", TOVRA_SERVER)),
                  linesOf(row.member("finds")));
    }
    EXPECT_EQ(examples.size(), 20U);
}

TEST(Check, SaysWhereAHostStartsAnOlderProgram) {
    const support::TemporaryFolder home;
    const support::EnvironmentScope variable("HOME", (home / "").string());
    const support::EnvironmentScope path("PATH", (home / "new").string());
    for (const std::string name : {"new/tovra-mcp", "old/tovra-mcp"}) {
        support::writeFile(home / name, "");
        fs::permissions(home / name, fs::perms::owner_all);
    }
    const auto time = fs::last_write_time(home / "new/tovra-mcp");
    fs::last_write_time(home / "old/tovra-mcp", time - std::chrono::hours(1));
    const std::string command = R"({"tovra":{"command":")" + (home / "old/tovra-mcp").string();
    support::writeFile(home / ".cursor/mcp.json", command + "\"}}");
    const auto entries = lookAtHosts();
    ASSERT_FALSE(entries.empty() || entries.back().findings.empty());
    EXPECT_EQ(entries.back().findings.front().text,
              "There is a newer one: " + (home / "new/tovra-mcp").string() + ".");
}

// What the program prints, and the status with which it ends.
std::string printed(const std::vector<std::string>& arguments, const std::string& file) {
    std::vector<std::string> command = {TOVRA_CHECK};
    command.insert(command.end(), arguments.begin(), arguments.end());
    support::ChildProcess program(command, {"TOVRA_DATA_FILE=" + file, "TZ=UTC"});
    std::string lines;
    while (const auto line = program.receive()) lines.append(*line) += '\n';
    lines += "status " + std::to_string(program.finish()) + "\n";
    for (const char* behindToday : {", UTC", "\",\"timeZone"}) {
        const std::size_t end = lines.find(behindToday);
        if (end < lines.size()) lines.replace(end - 10, 10, "TODAY");
    }
    return support::replaced(lines, file, "FILE");
}

TEST(Check, PrintsLinesOrJson) {
    const test::Golden golden("check/golden/checks.json");
    for (const json::Value row : golden.each(golden.root(), "outputs")) {
        const Scene scene(row);
        std::vector<std::string> arguments;
        for (const json::Value argument : row.member("arguments").children()) {
            arguments.emplace_back(asString(argument));
        }
        const auto trace = golden.trace(row);
        EXPECT_EQ(printed(arguments, scene.path(row)), linesOf(row.member("prints")));
    }
    const Examination found = examine(named("/no/such/file"), kNow);
    EXPECT_TRUE(asText(found, true).find("\033[31merror: ") != std::string::npos);
}

}  // namespace
}  // namespace tovra::check
