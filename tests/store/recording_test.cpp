#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/xattr.h>
#endif

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>
#include <vector>

#include "files/folder_lock.h"
#include "store/data_file.h"
#include "support/child_process.h"
#include "support/folder_model.h"
#include "support/save_trial.h"
#include "support/test_environment.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;
using support::ChildProcess;
using support::outcome;

// Everything that has to come out of a save as it went in.
const std::string kOddities = support::fileBytes(TOVRA_TESTS "/store/golden/oddities.json");

std::string failure(const std::string& reason, const support::DataFileScope& file,
                    const std::string& deed = "saved") {
    return "The data file could not be " + deed + ": " + reason + " (" + file.path().string() +
           "). Nothing was changed.";
}

std::string namesIn(const fs::path& folder) {
    std::string names;
    for (const auto& it : fs::directory_iterator(folder)) names += it.path().filename().string();
    return names;
}

// Nothing is left behind beside it; no content means no file.
void expectContent(const fs::path& path, const std::string& content) {
    EXPECT_EQ(support::fileBytes(path), content);
    EXPECT_EQ(namesIn(path.parent_path()), content.empty() ? "" : "data.json") << content;
}

TEST(Recording, KeepsEveryByteThatItDoesNotChangeButAByteOrderMark) {
    const std::string saved = support::fileBytes(TOVRA_TESTS "/store/golden/oddities_saved.json");
    for (const std::string& before : {kOddities, "\xEF\xBB\xBF" + kOddities, saved}) {
        const support::DataFileScope file(before);
        EXPECT_EQ(outcome(), "done") << before;
        expectContent(file.path(), saved);
    }
}

TEST(Recording, SaysInWordsWhatIsNoFileAndTakesAnyName) {
    const support::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const auto& [name, reason] : {std::pair{"pipe", "Not a regular file"},
                                       {"new/folder/", "Is a directory"},
                                       {"new/..", "Is a directory"}}) {
        const std::string path = folder / name;
        const support::EnvironmentScope variable("TOVRA_DATA_FILE", path);
        EXPECT_EQ(outcome(), std::string("The data file could not be read: ") + reason + " (" +
                                 path + "). Nothing was changed.");
    }
    EXPECT_EQ(namesIn(folder / ""), "pipe");
    const std::string longest(255, 'n');
    const support::EnvironmentScope variable("TOVRA_DATA_FILE", folder / longest);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(outcome(), "done");
}

TEST(Recording, KeepsModeAndLinksAndMakesMissingFolders) {
    const support::TemporaryFolder folder;
    const fs::path link = folder / "here/link.json", target = folder / "there/deep/data.json";
    const support::EnvironmentScope variable("TOVRA_DATA_FILE", link);
    fs::create_directories(link.parent_path());
    fs::create_symlink("../there/deep/data.json", link);
    for (const auto mode : {fs::perms(0600), fs::perms(0640)}) {
        EXPECT_EQ(outcome(), "done");
        EXPECT_EQ(fs::status(target).permissions(), mode);
        fs::permissions(target, fs::perms(0640));
    }
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(namesIn(link.parent_path()), "link.json");
    expectContent(target, "{\n  \"mine\" : 7\n}");
}

constexpr const char* kAddTransaction =
    R"({"id":1,"method":"tools/call","params":{"name":"add_transaction","arguments":{"amount":1}}})";
constexpr const char* kAddToGoal =
    R"({"id":1,"method":"tools/call","params":{"name":"add_to_goal","arguments":{"amount":0.25}}})";

TEST(Recording, IsRefusedWhereTheSystemRefuses) {
    const std::string content = "{\"name\":\"" + std::string(2000, 'x') + "\"}";
    const support::DataFileScope file(content);
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
    EXPECT_EQ(outcome(), failure("Permission denied", file, "read"));
    EXPECT_FALSE(loadData().root().exists());
    ASSERT_EQ(::seteuid(user), 0);
    fs::permissions(file.path().parent_path(), fs::perms(0755));
    fs::permissions(file.path(), fs::perms(0600));
    expectContent(file.path(), content);
}

std::size_t transactionsIn(const fs::path& path) {
    const auto document = json::parse(support::fileBytes(path));
    EXPECT_TRUE(document) << "a missing or partial file was seen";
    return document ? document->root().member("transactions").children().size() : 0;
}

TEST(Recording, LosesNothingBetweenSeveralServers) {
    constexpr int kRecords = 40;
    const support::DataFileScope file(R"({"goals":[{}]})");
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
    EXPECT_NE(support::fileBytes(file.path()).find("\"saved\" : 30\n"), std::string::npos);
    EXPECT_EQ(namesIn(file.path().parent_path()), "data.json");
}

// What keeps a recording waiting while something happens to who asked for it.
TEST(Recording, IsNotSavedWhereItCannotBeAnswered) {
    const support::DataFileScope file("{}");
    const auto never = [] { return false; };
    for (const int signal : {0, SIGTERM}) {
        bool wasWaiting = signal == 0;
        // On a busy machine a signal may come before the recording waits for the folder's lock.
        for (int tries = 0; tries == 0 || (!wasWaiting && tries < 20); ++tries) {
            std::error_code error;
            const auto folder =
                Folder::open(FileSystem::system(), file.path().parent_path(), never, error);
            ASSERT_TRUE(folder && folder->isLocked());
            ChildProcess server({TOVRA_SERVER}, {});
            server.send(R"({"id":1,"method":"ping"})");
            EXPECT_TRUE(server.receive());
            server.send(kAddTransaction);
            ::usleep(200000);
            signal == 0 ? server.stopListening() : void(::kill(server.id(), signal));
            if (signal != 0) {
                wasWaiting = server.receive().value_or("").find("the server is about to end") !=
                             std::string::npos;
            }
            EXPECT_EQ(server.finish(), signal == 0 ? 0 : 128 + signal);
            expectContent(file.path(), "{}");
        }
        EXPECT_TRUE(wasWaiting);
    }
}

#ifdef __linux__
// The application's file may be another one than the fallback.
TEST(Recording, IsRefusedWhereThePreferencesCannotBeRead) {
    const support::TemporaryFolder home;
    const support::EnvironmentScope variable("TOVRA_DATA_FILE", std::nullopt);
    const support::EnvironmentScope config("XDG_CONFIG_HOME", home / "config");
    const support::EnvironmentScope data("XDG_DATA_HOME", home / "data");
    support::writeFile(home / "config/com.local.pennyloft/preferences.json", "{");
    const std::string said = outcome();
    EXPECT_TRUE(said.ends_with(". Nothing was changed.")) << said;
    EXPECT_FALSE(fs::exists(home / "data"));
}

struct AccessEntry {
    std::uint16_t kind;  // owner 1, user 2, group 4, mask 16, others 32
    std::uint16_t rights;
    std::uint32_t id;
};

// As setxattr takes it; this machine's numbers begin with the lowest byte.
std::string asAttribute(const std::vector<AccessEntry>& list) {
    std::string bytes("\2\0\0\0", 4);
    return bytes.append(reinterpret_cast<const char*>(list.data()),
                        list.size() * sizeof(AccessEntry));
}

TEST(Recording, KeepsAttributesAndAccessListsAndInheritsNone) {
    const support::DataFileScope file("{}");
    const std::string path = file.path(), folder = file.path().parent_path();
    const char* kList = "system.posix_acl_access";
    const auto set = [](const std::string& of, const char* name, const std::string& value) {
        return ::setxattr(of.c_str(), name, value.data(), value.size(), 0) == 0;
    };
    const auto get = [&](const char* name) {
        std::array<char, 100> value{};
        const ssize_t size = ::getxattr(path.c_str(), name, value.data(), value.size());
        return std::string(value.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    };
    constexpr std::uint32_t n = ~0U;
    const std::string inherited =
        asAttribute({{1, 7, n}, {2, 7, 9}, {4, 7, n}, {16, 7, n}, {32, 0, n}});
    const std::string own = asAttribute({{1, 6, n}, {2, 6, 7}, {4, 0, n}, {16, 6, n}, {32, 0, n}});
    if (!set(folder, "system.posix_acl_default", inherited)) GTEST_SKIP();
    ASSERT_TRUE(set(path, "user.note", "n"));
    for (const bool hasList : {false, true}) {
        fs::permissions(path, fs::perms(0640));
        ASSERT_TRUE(!hasList || set(path, kList, own));
        EXPECT_EQ(outcome(), "done");
        EXPECT_EQ(get("user.note"), "n");
        EXPECT_EQ(fs::status(path).permissions(), fs::perms(hasList ? 0660 : 0640));
        EXPECT_EQ(get(kList), hasList ? own : "");
    }
}
#endif

// All wait for the folder together.
TEST(Recording, WaitsForALockTwoSecondsHoweverManyCall) {
    const support::EnvironmentScope path("TOVRA_DATA_FILE", "/folder/data.json");
    support::FolderModel model;
    model.put("data.json", "{}");
    model.before = [](std::string_view call) { return call == "lock" ? EWOULDBLOCK : 0; };
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> callers;
    for (char name = '1'; name <= '9'; ++name) {
        callers.emplace_back([&, name] {
            const auto change = [&](const DataSnapshot& snapshot) -> Change {
                return {json::Edit{snapshot.root(), {name}, "7"}, "done"};
            };
            EXPECT_EQ(changeDataFile(change, model), "done");
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(12));  // not 18
    const std::string bytes = model.bytes("data.json");
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '7'), 10) << bytes;
}

// Who ends waits for it.
TEST(Recording, IsFinishedBeforeTheEnd) {
    const support::EnvironmentScope path("TOVRA_DATA_FILE", "/folder/data.json");
    support::FolderModel model;
    model.put("data.json", "{}");
    std::atomic<bool> isUnderWay = false;
    bool hasEnded = false;
    model.before = [&](std::string_view call) {
        if (call == "write") isUnderWay = true;
        if (call == "synchronise") std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (call == "remove") hasEnded = true;
        return 0;
    };
    std::thread recording([&] { (void)outcome(model); });
    while (!isUnderWay) std::this_thread::yield();
    finishRecordings();
    EXPECT_TRUE(hasEnded);
    recording.join();
    EXPECT_EQ(outcome(model), "The server is about to end. Nothing was changed.");
    recordOnlyWhile([] { return true; });
}

// How many transactions were confirmed.
std::size_t confirmedBy(ChildProcess& server) {
    std::size_t count = 0;
    while (const auto answer = server.receive()) count += answer->find("Added") < answer->size();
    return count;
}

// A file so large that a recording takes a while; there is something to leave behind.
TEST(Recording, SurvivesBeingKilledAtAnyMoment) {
    const support::DataFileScope file("{\"a\":\"" + std::string(1000000, 'a') + "\"}");
    std::size_t recorded = 0;
    for (int round = 0; round < 16; ++round) {
        const int signal = round % 2 == 0 ? SIGKILL : SIGTERM;
        ChildProcess server({TOVRA_SERVER}, {});
        for (int n = 0; n < 20; ++n) server.send(kAddTransaction);
        ::usleep(static_cast<useconds_t>(std::rand() % 100000));
        ::kill(server.id(), signal);
        const std::size_t confirmed = recorded + confirmedBy(server);  // in the pipe as well
        recorded = transactionsIn(file.path());
        EXPECT_GE(recorded, confirmed);
        // Only who has no time to answer may save without.
        EXPECT_LE(recorded, confirmed + (signal == SIGKILL ? 1 : 0)) << "signal " << signal;
    }
    EXPECT_EQ(outcome(), "done");
    EXPECT_EQ(namesIn(file.path().parent_path()), "data.json");
}

}  // namespace
}  // namespace tovra
