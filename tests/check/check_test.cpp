#include "check/check.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>
#include <set>

#include "check/layout.h"
#include "store/fields.h"
#include "support/child_process.h"
#include "tests/support/golden.h"
#include "tests/support/table.h"

namespace tovra::check {
namespace {

namespace fs = std::filesystem;

constexpr Instant kNow = 1795608000;  // 2026-11-25T12:00:00Z

// A folder with the file of a case, and what else lies there.
class Scene {
  public:
    explicit Scene(json::Value row) {
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
    support::TemporaryFolder folder_;
};

std::string listed(const std::vector<Finding>& findings, const Scene& scene) {
    std::string lines;
    for (const auto& [level, about, text] : findings) {
        lines += level == Level::error ? "error " : "warning ";
        lines +=
            std::string(about) + ": " + support::replaced(text, scene.folder(), "FOLDER") + "\n";
    }
    return lines;
}

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
        EXPECT_EQ(listed(check(scene.path(row), kNow).findings, scene),
                  linesOf(row.member("finds")));
        EXPECT_EQ(scene.state(), before);
    }
}

// What a test cannot bring about as every user and on every system.
TEST(Check, ExplainsTheReasonsOfTheSystem) {
    const std::map<std::string_view, int> reasons = {{"EACCES", EACCES},
                                                     {"EPERM", EPERM},
                                                     {"EDEADLK", EDEADLK},
                                                     {"EFBIG", EFBIG},
                                                     {"EROFS", EROFS},
                                                     {"EIO", EIO},
                                                     {"", 0}};
    const test::Golden golden("check/golden/checks.json");
    for (const json::Value row : golden.each(golden.root(), "places")) {
        const auto trace = golden.trace(row, stringField(row, "case"));
        const auto reason = [&](std::string_view name) {
            return std::error_code(reasons.at(stringField(row, name)), std::generic_category());
        };
        Place place;
        place.path = "/data.json";
        place.notReadable = reason("notReadable");
        place.notWritable = reason("notWritable");
        place.isOwn = boolField(row, "isOwn").value_or(true);
        DataFileLocation location;
        if (boolField(row, "brokenPreferences") == true) location.preferencesProblem = "Broken";
        const Content content = survey(golden.root().member("whole"), kNow);
        EXPECT_EQ(listed(findingsOf(location, place, {}, content), Scene({})),
                  linesOf(row.member("finds")));
    }
}

std::string faultOf(const test::Row& row) {
    const auto fault = findJsonFault(row[1]);
    if (!fault) return "none";
    std::string place = std::to_string(fault->line) + ":" + std::to_string(fault->column) + " ";
    return place.append(fault->reason);
}

std::string other(const test::Row& row) { return row.back(); }

// Whatever the parser refuses has a fault, and nothing else.
std::string written(const test::Row& row) {
    EXPECT_EQ(findJsonFault(row[1]).has_value(), !json::parse(row[1]).has_value());
    return row.back();
}

TEST(Check, SaysWhereAFileStopsBeingJson) {
    test::expectTable("check/golden/faults.txt", {{"fault", faultOf}});
    test::expectTable("json/golden/json.txt", {{"repeated", other},
                                               {"saved", other},
                                               {"number", other},
                                               {"written", written},
                                               {"kept", written}});
}

// What the program prints, and the status with which it ends.
std::string printed(const std::vector<std::string>& arguments, const std::string& file) {
    std::vector<std::string> command = {TOVRA_CHECK};
    command.insert(command.end(), arguments.begin(), arguments.end());
    support::ChildProcess program(command, {"TOVRA_DATA_FILE=" + file, "TZ=UTC"});
    std::string lines;
    while (const auto line = program.receive()) lines.append(*line) += '\n';
    lines += "status " + std::to_string(program.finish()) + "\n";
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
    const Check found = check(fs::path("/no/such/file"), kNow);
    EXPECT_TRUE(asText(found, true).find("\033[31merror: ") != std::string::npos);
}

}  // namespace
}  // namespace tovra::check
