#include "store/recording.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <random>
#include <thread>
#include <tuple>

#include "examples/child_process.h"
#include "platform/replace_file.h"
#include "store/data_file.h"
#include "store/fields.h"
#include "tests/support/scopes.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;
using examples::ChildProcess;

// Everything that has to come out of a save as it went in.
constexpr const char* kOddities =
    R"({"z":{"b":0.10,"a":[1e-7,-0.0,123456789012345678901234567890,1e999,{}],"é":[]},)"
    R"("t\u0000\n\"":"\ud83d\ude00\u007f\/","a":true,"a":null,"transactions":[{"amount":1.50}]})";

Change setMember(const DataFile& file) { return {json::Edit{file.data(), "mine", "7"}, "done"}; }

// Why nothing was recorded; "done" when it was.
std::string outcome(FileSystem& system = FileSystem::system()) {
    try {
        return record(setMember, system);
    } catch (const RecordingError& error) {
        return error.what();
    }
}

std::string failure(const std::string& reason, const test::DataFile& file) {
    return "The data file could not be " + reason + " (" + file.path().string() +
           "). Nothing was changed.";
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& it : fs::directory_iterator(folder)) names.push_back(it.path().filename());
    return names;
}

// Nothing is left behind beside it.
void expectContent(const fs::path& path, const std::string& content) {
    EXPECT_EQ(test::fileBytes(path), content);
    EXPECT_EQ(namesIn(path.parent_path()), std::vector<std::string>{"data.json"}) << content;
}

TEST(Recording, KeepsEveryByteThatItDoesNotChange) {
    const test::DataFile file(kOddities);
    EXPECT_EQ(outcome(), "done");
    std::string text = test::fileBytes(file.path());
    EXPECT_NE(text.find("\n    \"a\": [\n      1e-7,\n"), std::string::npos) << text;
    std::erase_if(text, [](char c) { return c == '\n' || c == ' '; });
    EXPECT_EQ(text,
              R"({"a":null,"mine":7,"t\u0000\n\"":"😀)"
              "\x7f"
              R"(/","transactions":[{"amount":1.50}],)"
              R"("z":{"a":[1e-7,-0.0,123456789012345678901234567890,1e999,{}],"b":0.10,"é":[]}})");
}

TEST(Recording, KeepsModeAndLinksAndMakesMissingFolders) {
    const test::TemporaryFolder folder;
    const fs::path link = folder / "here/link.json", target = folder / "there/deep/data.json";
    const test::EnvironmentScope variable("TOVRA_DATA_FILE", link);
    fs::create_directories(link.parent_path());
    fs::create_symlink("../there/deep/data.json", link);
    for (const auto mode : {fs::perms(0600), fs::perms(0640)}) {
        EXPECT_EQ(outcome(), "done");
        EXPECT_EQ(fs::status(target).permissions(), mode);
        fs::permissions(target, fs::perms(0640));
    }
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(namesIn(link.parent_path()).size(), 1U);
    expectContent(target, "{\n  \"mine\": 7\n}\n");
}

// Tells about each system call of a save before it is made, and may let it fail.
class HookedSystem : public FileSystem {
  public:
    using Base = FileSystem;
    using Path = fs::path;
    // Gives the reason for which the call of that name fails, 0 for none.
    using Hook = std::function<int(std::string_view call)>;
    explicit HookedSystem(Hook hook) : hook_(std::move(hook)) {}

    int createExclusively(const Path& path, mode_t mode) override {
        return fails("create") ? -1 : Base::createExclusively(path, mode);
    }
    ssize_t write(int file, const void* bytes, std::size_t count) override {
        return fails("write") ? -1 : Base::write(file, bytes, (count + 1) / 2);
    }
    int changeMode(int file, mode_t mode) override {
        return fails("mode") ? -1 : Base::changeMode(file, mode);
    }
    int synchronise(int file) override { return fails("sync") ? -1 : Base::synchronise(file); }
    int close(int file) override { return Base::close(file), fails("close") ? -1 : 0; }
    int rename(const Path& from, const Path& to) override {
        return fails("rename") ? -1 : Base::rename(from, to);
    }
    int renameExclusively(const Path& from, const Path& to) override {
        return fails("rename exclusively") ? -1 : Base::renameExclusively(from, to);
    }
    int exchange(const Path& a, const Path& b) override {
        return fails("exchange") ? -1 : Base::exchange(a, b);
    }

  private:
    bool fails(std::string_view call) { return (errno = hook_(call)) != 0; }

    Hook hook_;
};

struct FailingSave {
    bool exists, canExchange;
    int fewestFailures;
};

TEST(Recording, ChangesNothingWhateverCallOfASaveFails) {
    for (const auto& it : {FailingSave{true, true, 15}, {true, false, 14}, {false, true, 10}}) {
        int failures = 0;
        for (; failures < 100; ++failures) {
            const test::DataFile file(kOddities);
            if (!it.exists) fs::remove(file.path());
            int left = failures;
            HookedSystem system([&](std::string_view call) {
                if (call == "exchange" && !it.canExchange) return ENOTSUP;
                return left-- == 0 ? ENOSPC : 0;
            });
            const std::string said = outcome(system);
            if (said == "done") break;
            EXPECT_EQ(said, failure("saved: No space left on device", file)) << failures;
            EXPECT_EQ(test::fileBytes(file.path()), it.exists ? kOddities : "") << failures;
            EXPECT_EQ(namesIn(file.path().parent_path()).size(), it.exists ? 1U : 0U) << failures;
        }
        EXPECT_GE(failures, it.fewestFailures);
    }
}

// Another program saves by renaming.
void intrude(const fs::path& target, const std::string& content) {
    test::writeFile(target.parent_path() / "other", content);
    fs::rename(target.parent_path() / "other", target);
}

TEST(Recording, NeverUndoesAVersionThatSlipsInAtTheLastMoment) {
    for (const int times : {1, 2, 3, 7}) {
        const test::DataFile file(kOddities);
        int left = times;
        HookedSystem system([&](std::string_view call) {
            if (call == "exchange" && left > 0) {
                intrude(file.path(), R"({"theirs":)" + std::to_string(left--) + "}");
            }
            return 0;
        });
        EXPECT_EQ(outcome(system), "done") << times;
        expectContent(file.path(), "{\n  \"mine\": 7,\n  \"theirs\": 1\n}\n");
    }
}

TEST(Recording, IsRefusedWhenTheFileChangesAtEveryTryOrItsFolderVanishes) {
    const test::DataFile file(kOddities);
    const fs::path home = file.path().parent_path();
    HookedSystem tireless([&](std::string_view call) {
        if (call == "create") intrude(file.path(), R"({"theirs":1})");
        return 0;
    });
    EXPECT_EQ(outcome(tireless), failure("saved: other programs keep changing it", file));
    expectContent(file.path(), R"({"theirs":1})");

    HookedSystem moving([&](std::string_view call) {
        if (call == "create") fs::rename(home, home.string() + "-moved");
        return 0;
    });
    EXPECT_EQ(outcome(moving), failure("saved: No such file or directory", file));
    expectContent(home.string() + "-moved/data.json", R"({"theirs":1})");
    fs::rename(home.string() + "-moved", home);
}

std::string call(const std::string& tool, const std::string& arguments) {
    return R"({"id":1,"method":"tools/call","params":{"name":")" + tool + R"(","arguments":)" +
           arguments + "}}";
}

TEST(Recording, IsRefusedWhereTheSystemRefuses) {
    const test::DataFile file(kOddities);
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY}, tiny{64, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &tiny);
    ChildProcess server({TOVRA_SERVER}, {});
    ::setrlimit(RLIMIT_FSIZE, &unlimited);
    server.send(call("add_transaction", R"({"amount":1})"));
    EXPECT_EQ(server.receive(),
              R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":"Error: )" +
                  failure("saved: File too large", file) + R"("}],"isError":true}})");
    expectContent(file.path(), kOddities);

    // As a user who may neither write the folder nor read the file; the superuser always may.
    const fs::path folder = file.path().parent_path();
    const bool isSuperuser = ::geteuid() == 0;
    fs::permissions(folder, fs::perms(0555));
    ASSERT_TRUE(!isSuperuser || ::seteuid(65534) == 0);
    EXPECT_EQ(outcome(), failure("saved: Permission denied", file));
    ASSERT_TRUE(!isSuperuser || ::seteuid(0) == 0);
    fs::permissions(file.path(), fs::perms(0));
    ASSERT_TRUE(!isSuperuser || ::seteuid(65534) == 0);
    EXPECT_FALSE(loadData().root().exists());
    ASSERT_TRUE(!isSuperuser || ::seteuid(0) == 0);
    fs::permissions(folder, fs::perms(0755));
    expectContent(file.path(), isSuperuser ? kOddities : "");
}

json::Document mustParse(const fs::path& path) {
    auto document = json::parse(test::fileBytes(path));
    EXPECT_TRUE(document) << "a missing or partial file was seen";
    return document ? std::move(*document) : json::Document();
}

TEST(Recording, LosesNothingBetweenSeveralServers) {
    constexpr int kServers = 3, kRecords = 40;
    const test::DataFile file(R"({"goals":[{"name":"g"}],"kept":[1,2.50]})");
    std::atomic<bool> done = false;
    std::thread reader([&] {
        while (!done) mustParse(file.path());
    });
    std::vector<std::thread> clients(kServers);
    for (std::thread& client : clients) {
        client = std::thread([] {
            ChildProcess server({TOVRA_SERVER}, {});
            for (int n = 0; n < 2 * kRecords; ++n) {
                server.send(n % 2 == 0 ? call("add_transaction", R"({"amount":1})")
                                       : call("add_to_goal", R"({"goal":"G","amount":0.25})"));
                EXPECT_TRUE(server.receive().value_or("").ends_with(R"("isError":false}})"));
            }
        });
    }
    for (std::thread& client : clients) client.join();
    done = true;
    reader.join();
    const json::Document document = mustParse(file.path());
    EXPECT_EQ(objectArrayField(document.root(), "transactions").size(), kServers * kRecords);
    EXPECT_EQ(numberField(objectArrayField(document.root(), "goals")[0], "saved"),
              kServers * kRecords * 0.25);
    EXPECT_EQ(document.root().member("kept").children()[1].numberText(), "2.50");
    EXPECT_EQ(namesIn(file.path().parent_path()).size(), 1U);
}

// A program that knows no locks saves a counter by renaming, as fast as it can.
TEST(Recording, UndoesNoChangeOfAnOutsideWriter) {
    constexpr int kSaves = 400;
    const test::DataFile file(R"({"counter":0})");
    const auto counter = [&] { return int(numberField(mustParse(file.path()).root(), "counter")); };
    std::atomic<bool> done = false;
    std::thread recorder([&] {
        while (!done) std::ignore = outcome();  // refused where the other one is quicker each time
    });
    for (int n = 1; n <= kSaves && !HasFailure(); ++n) {
        // For an instant the version before may be in place, until it is noticed and put back.
        for (int tries = 0; counter() != n - 1 && tries < 1000; ++tries) ::usleep(1000);
        EXPECT_EQ(counter(), n - 1) << "a change was undone";
        intrude(file.path(), R"({"counter":)" + std::to_string(n) + "}");
    }
    done = true;
    recorder.join();
    EXPECT_EQ(counter(), kSaves);
}

TEST(Recording, SurvivesBeingKilledAtAnyMoment) {
    const test::DataFile file("{}");
    std::mt19937 random(7);
    std::size_t confirmed = 0;
    for (int round = 0; round < 12; ++round) {
        ChildProcess server({TOVRA_SERVER}, {});
        for (int n = 0; n < 20; ++n) server.send(call("add_transaction", R"({"amount":1})"));
        std::thread killer([&, pause = random() % 40000] {
            ::usleep(static_cast<useconds_t>(pause));
            ::kill(server.id(), round % 2 == 0 ? SIGKILL : SIGTERM);
        });
        while (server.receive()) ++confirmed;
        killer.join();
        const json::Document document = mustParse(file.path());
        const std::size_t recorded = objectArrayField(document.root(), "transactions").size();
        EXPECT_GE(recorded, confirmed);
        confirmed = recorded;  // at most one was recorded and not confirmed any more
    }
}

}  // namespace
}  // namespace tovra
