#include "store/recording.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <tuple>

#include "platform/replace_file.h"
#include "store/data_file.h"
#include "support/child_process.h"
#include "tests/support/scopes.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;
using support::ChildProcess;

// Everything that has to come out of a save as it went in.
const std::string kOddities = test::fileBytes(TOVRA_TESTS "/store/golden/oddities.json");

// Gives the reason for which the system call of that name fails, 0 for none.
using Hook = std::function<int(std::string_view call)>;

// Asks about each system call of a save before it is made, and may let it fail.
class HookedSystem : public FileSystem {
  public:
    using Base = FileSystem;
    using Path = const fs::path&;
    explicit HookedSystem(Hook hook) : hook_(std::move(hook)) {}

    int createExclusively(Path path, mode_t mode) override {
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
    int rename(Path a, Path b) override { return fails("rename") ? -1 : Base::rename(a, b); }
    int renameExclusively(Path a, Path b) override {
        return fails("rename exclusively") ? -1 : Base::renameExclusively(a, b);
    }
    int exchange(Path a, Path b) override { return fails("exchange") ? -1 : Base::exchange(a, b); }

  private:
    bool fails(std::string_view call) { return (errno = hook_(call)) != 0; }

    Hook hook_;
};

// Something happens right before each system call of that name.
Hook before(std::string_view name, const std::function<void()>& action) {
    return [=](std::string_view call) {
        if (call == name) action();
        return 0;
    };
}

Change setMember(const DataSnapshot& snapshot) {
    return {json::Edit{snapshot.root(), "mine", "7"}, "done"};
}

// Why nothing was recorded; "done" when it was.
std::string outcome(const Hook& hook = [](auto) { return 0; }) {
    HookedSystem system(hook);
    try {
        return changeDataFile(setMember, system);
    } catch (const RecordingError& error) {
        return error.what();
    }
}

std::string failure(const std::string& reason, const test::DataFileScope& file) {
    return "The data file could not be saved: " + reason + " (" + file.path().string() +
           "). Nothing was changed.";
}

std::string namesIn(const fs::path& folder) {
    std::string names;
    for (const auto& it : fs::directory_iterator(folder)) names += it.path().filename().string();
    return names;
}

// Nothing is left behind beside it; no content means no file.
void expectContent(const fs::path& path, const std::string& content) {
    EXPECT_EQ(test::fileBytes(path), content);
    EXPECT_EQ(namesIn(path.parent_path()), content.empty() ? "" : "data.json") << content;
}

TEST(Recording, KeepsEveryByteThatItDoesNotChange) {
    const test::DataFileScope file(kOddities);
    EXPECT_EQ(outcome(), "done");
    expectContent(file.path(), test::fileBytes(TOVRA_TESTS "/store/golden/oddities_saved.json"));
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
    EXPECT_EQ(namesIn(link.parent_path()), "link.json");
    expectContent(target, "{\n  \"mine\": 7\n}\n");
}

TEST(Recording, ChangesNothingWhateverCallOfASaveFails) {
    // whether there is a file, whether two files can be exchanged, how many calls can fail at least
    for (const auto& [exists, canExchange, fewest] :
         {std::tuple(true, true, 15), {true, false, 14}, {false, true, 10}}) {
        const std::string content = exists ? kOddities : "";
        int failures = 0;
        for (; failures < 100; ++failures) {
            const test::DataFileScope file(content);
            if (!exists) fs::remove(file.path());
            const auto hook = [left = failures, can = canExchange](std::string_view call) mutable {
                if (call == "exchange" && !can) return ENOTSUP;
                return left-- == 0 ? ENOSPC : 0;
            };
            const std::string said = outcome(hook);
            if (said == "done") break;
            EXPECT_EQ(said, failure("No space left on device", file)) << failures;
            expectContent(file.path(), content);
        }
        EXPECT_GE(failures, fewest);
    }
}

// Another program saves by renaming.
void intrude(const fs::path& target, const std::string& content) {
    test::writeFile(target.parent_path() / "other", content);
    fs::rename(target.parent_path() / "other", target);
}

TEST(Recording, NeverUndoesAVersionThatSlipsInAtTheLastMoment) {
    for (int left : {1, 2, 3, 7}) {
        SCOPED_TRACE(left);
        const test::DataFileScope file(kOddities);
        const auto slipIn = [&] {
            // Whoever asks for the lock has to wait.
            EXPECT_ANY_THROW(DirectoryLock(file.path().parent_path(), [] { return false; }));
            if (left > 0) intrude(file.path(), R"({"theirs":)" + std::to_string(left--) + "}");
        };
        EXPECT_EQ(outcome(before("exchange", slipIn)), "done");
        expectContent(file.path(), "{\n  \"mine\": 7,\n  \"theirs\": 1\n}\n");
    }
}

TEST(Recording, IsRefusedWhenTheFileChangesAtEveryTryOrItsFolderVanishes) {
    const test::DataFileScope file(kOddities);
    const fs::path home = file.path().parent_path(), moved = home.string() + "-moved";
    EXPECT_EQ(outcome(before("create", [&] { intrude(file.path(), R"({"theirs":1})"); })),
              failure("other programs keep changing it", file));
    expectContent(file.path(), R"({"theirs":1})");
    EXPECT_EQ(outcome(before("create", [&] { fs::rename(home, moved); })),
              failure("No such file or directory", file));
    expectContent(moved / "data.json", R"({"theirs":1})");
    fs::rename(moved, home);
}

constexpr const char* kAddTransaction =
    R"({"id":1,"method":"tools/call","params":{"name":"add_transaction","arguments":{"amount":1}}})";
constexpr const char* kAddToGoal =
    R"({"id":1,"method":"tools/call","params":{"name":"add_to_goal","arguments":{"amount":0.25}}})";

TEST(Recording, IsRefusedWhereTheSystemRefuses) {
    const std::string content = "{\"name\":\"" + std::string(2000, 'x') + "\"}";
    const test::DataFileScope file(content);
    // With room for 512 or 1024 bytes in every file.
    ChildProcess server({"/bin/sh", "-c", "ulimit -f 1; exec \"$0\"", TOVRA_SERVER}, {});
    server.send(kAddTransaction);
    EXPECT_EQ(server.receive(),
              R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":"Error: )" +
                  failure("File too large", file) + R"("}],"isError":true}})");
    expectContent(file.path(), content);

    // As a user who may neither read the file nor write its folder; the superuser always may.
    const uid_t user = ::geteuid(), ordinary = user == 0 ? 65534 : user;
    fs::permissions(file.path(), fs::perms(0));
    fs::permissions(file.path().parent_path(), fs::perms(0555));
    ASSERT_EQ(::seteuid(ordinary), 0);
    EXPECT_EQ(outcome(), failure("Permission denied", file));
    EXPECT_FALSE(loadData().root().exists());
    ASSERT_EQ(::seteuid(user), 0);
    fs::permissions(file.path().parent_path(), fs::perms(0755));
    fs::permissions(file.path(), fs::perms(0600));
    expectContent(file.path(), content);
}

json::Document mustParse(const fs::path& path) {
    auto document = json::parse(test::fileBytes(path));
    EXPECT_TRUE(document) << "a missing or partial file was seen";
    return document ? std::move(*document) : json::Document();
}

std::size_t transactionsIn(const fs::path& path) {
    return mustParse(path).root().member("transactions").children().size();
}

TEST(Recording, LosesNothingBetweenSeveralServers) {
    constexpr int kRecords = 40;
    const test::DataFileScope file(R"({"goals":[{}]})");
    ChildProcess servers[] = {{{TOVRA_SERVER}, {}}, {{TOVRA_SERVER}, {}}, {{TOVRA_SERVER}, {}}};
    for (ChildProcess& server : servers) {
        for (int n = 0; n < kRecords; ++n) server.send(kAddTransaction), server.send(kAddToGoal);
    }
    // A reader meanwhile sees whole files only.
    for (int n = 0; n < 10000 && transactionsIn(file.path()) < 3 * kRecords; ++n) continue;
    for (ChildProcess& server : servers) {
        for (int n = 0; n < 2 * kRecords; ++n) {
            EXPECT_TRUE(server.receive().value_or("").ends_with(R"("isError":false}})"));
        }
    }
    EXPECT_EQ(transactionsIn(file.path()), 3 * kRecords);
    EXPECT_NE(test::fileBytes(file.path()).find("\"saved\": 30\n"), std::string::npos);
    EXPECT_EQ(namesIn(file.path().parent_path()), "data.json");
}

// A program that knows no locks saves a counter by renaming, as fast as it can.
TEST(Recording, UndoesNoChangeOfAnOutsideWriter) {
    constexpr int kSaves = 400;
    const test::DataFileScope file(R"({"counter":0})");
    const auto counter = [&] { return mustParse(file.path()).root().member("counter").number(); };
    std::atomic<bool> done = false;
    // What it records is refused where the other one is quicker each time.
    std::thread recorder([&] {
        while (!done) outcome();
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
    const test::DataFileScope file("{}");
    std::size_t confirmed = 0;
    for (int round = 0; round < 12; ++round) {
        ChildProcess server({TOVRA_SERVER}, {});
        for (int n = 0; n < 20; ++n) server.send(kAddTransaction);
        ::usleep(static_cast<useconds_t>(std::rand() % 40000));
        ::kill(server.id(), round % 2 == 0 ? SIGKILL : SIGTERM);
        while (server.receive()) ++confirmed;  // what the pipe still holds as well
        const std::size_t recorded = transactionsIn(file.path());
        EXPECT_GE(recorded, confirmed);
        confirmed = recorded;  // at most one was recorded and not confirmed any more
    }
}

}  // namespace
}  // namespace tovra
