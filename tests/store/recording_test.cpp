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

#include "platform/replace_file.h"
#include "store/fields.h"
#include "tests/support/scopes.h"
#include "tests/support/server_process.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;

// Everything that has to come out of a save as it went in.
constexpr const char* kOddities =
    R"({"z":{"b":0.10,"a":[1e-7,-0.0,123456789012345678901234567890,1e999,{}],"é":[]},)"
    R"("t\u0000\n\"":"\ud83d\ude00\u007f\/","a":true,"a":null,"transactions":[{"amount":1.50}]})";

Change setMember(const DataFile& file) { return {json::Edit{file.data(), "mine", "7"}, "done"}; }

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    return names;
}

void expectUntouched(const test::DataFile& file, const std::string& content,
                     const std::string& what) {
    EXPECT_EQ(test::fileBytes(file.path()), content) << what;
    EXPECT_EQ(namesIn(file.path().parent_path()), std::vector<std::string>{"data.json"}) << what;
}

TEST(Recording, KeepsEveryByteThatItDoesNotChange) {
    const test::DataFile file(kOddities);
    EXPECT_EQ(record(setMember), "done");
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
    const test::EnvironmentScope variable("TOVRA_DATA_FILE", folder / "here/link.json");
    fs::create_directories(folder / "here");
    fs::create_symlink("../there/deep/data.json", folder / "here/link.json");
    for (const mode_t mode : {0600U, 0640U}) {
        EXPECT_EQ(record(setMember), "done");
        struct stat status {};
        ASSERT_EQ(::stat((folder / "there/deep/data.json").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
        ::chmod((folder / "there/deep/data.json").c_str(), 0640);
    }
    EXPECT_TRUE(fs::is_symlink(folder / "here/link.json"));
    EXPECT_EQ(namesIn(folder / "here").size(), 1U);
    EXPECT_EQ(namesIn(folder / "there/deep"), std::vector<std::string>{"data.json"});
}

// Tells about each system call of a save before it is made, and may let it fail.
class HookedSystem : public FileSystem {
  public:
    // Gives the reason for which the call of that name fails, 0 for none.
    using Hook = std::function<int(std::string_view call)>;
    explicit HookedSystem(Hook hook) : hook_(std::move(hook)) {}

    int createExclusively(const fs::path& path, mode_t mode) override {
        return fails("create") ? -1 : FileSystem::createExclusively(path, mode);
    }
    ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
        return fails("write") ? -1 : FileSystem::write(descriptor, bytes, (count + 1) / 2);
    }
    int changeMode(int descriptor, mode_t mode) override {
        return fails("mode") ? -1 : FileSystem::changeMode(descriptor, mode);
    }
    int synchronise(int descriptor) override {
        return fails("synchronise") ? -1 : FileSystem::synchronise(descriptor);
    }
    int close(int descriptor) override {
        FileSystem::close(descriptor);
        return fails("close") ? -1 : 0;
    }
    int rename(const fs::path& from, const fs::path& to) override {
        return fails("rename") ? -1 : FileSystem::rename(from, to);
    }
    int renameExclusively(const fs::path& from, const fs::path& to) override {
        return fails("rename exclusively") ? -1 : FileSystem::renameExclusively(from, to);
    }
    int exchange(const fs::path& a, const fs::path& b) override {
        return fails("exchange") ? -1 : FileSystem::exchange(a, b);
    }

  private:
    bool fails(std::string_view call) {
        errno = hook_(call);
        return errno != 0;
    }

    Hook hook_;
};

// How many of the calls of a save can fail so that nothing is recorded, each tried in turn.
int countFailures(bool exists, bool canExchange) {
    int failures = 0;
    for (int n = 1; n < 100; ++n) {
        const test::DataFile file(kOddities);
        if (!exists) fs::remove(file.path());
        int left = n;
        HookedSystem system([&](std::string_view call) {
            if (call == "exchange" && !canExchange) return ENOTSUP;
            return --left == 0 ? ENOSPC : 0;
        });
        try {
            EXPECT_EQ(record(setMember, system), "done");
            if (left > 0) break;
        } catch (const RecordingError& error) {
            ++failures;
            EXPECT_EQ(error.what(), "The data file could not be saved: No space left on device (" +
                                        file.path().string() + "). Nothing was changed.");
            EXPECT_EQ(exists ? kOddities : "", test::fileBytes(file.path())) << n;
            EXPECT_EQ(namesIn(file.path().parent_path()).size(), exists ? 1U : 0U) << n;
        }
    }
    return failures;
}

TEST(Recording, ChangesNothingWhateverCallOfASaveFails) {
    EXPECT_GE(countFailures(true, true), 8);
    // Here the last call, which synchronises the directory, comes too late to matter.
    EXPECT_GE(countFailures(true, false), 8);
    EXPECT_GE(countFailures(false, true), 8);
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
        EXPECT_EQ(record(setMember, system), "done");
        expectUntouched(file, "{\n  \"mine\": 7,\n  \"theirs\": 1\n}\n", std::to_string(times));
    }
}

TEST(Recording, GivesUpWhenTheFileChangesAtEveryTry) {
    const test::DataFile file(kOddities);
    HookedSystem system([&](std::string_view call) {
        if (call == "create") intrude(file.path(), R"({"theirs":1})");
        return 0;
    });
    EXPECT_THROW(std::ignore = record(setMember, system), RecordingError);
    expectUntouched(file, R"({"theirs":1})", "tireless");
}

TEST(Recording, IsRefusedWhenTheFolderVanishesInTheMiddle) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "home/data.json", kOddities);
    const test::EnvironmentScope variable("TOVRA_DATA_FILE", folder / "home/data.json");
    HookedSystem system([&](std::string_view call) {
        if (call == "create") fs::rename(folder / "home", folder / "elsewhere");
        return 0;
    });
    EXPECT_THROW(std::ignore = record(setMember, system), RecordingError);
    EXPECT_EQ(test::fileBytes(folder / "elsewhere/data.json"), kOddities);
    EXPECT_EQ(namesIn(folder / "elsewhere").size(), 1U);
}

std::string call(const std::string& tool, const std::string& arguments) {
    return R"({"id":1,"method":"tools/call","params":{"name":")" + tool + R"(","arguments":)" +
           arguments + "}}\n";
}

TEST(Recording, IsRefusedWhereTheSystemRefuses) {
    const test::DataFile file(kOddities);
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    const rlimit tiny{64, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &tiny);
    test::ServerProcess server;
    ::setrlimit(RLIMIT_FSIZE, &unlimited);
    server.send(call("add_transaction", R"({"amount":1})"));
    EXPECT_EQ(
        server.readLine(),
        R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":"Error: The data )"
        R"(file could not be saved: File too large ()" +
            file.path().string() + R"(). Nothing was changed."}],"isError":true}})");
    expectUntouched(file, kOddities, "full");

    // As a user who may read but not write; the superuser may always write.
    fs::permissions(file.path().parent_path(), fs::perms(0555));
    const bool isSuperuser = ::geteuid() == 0;
    ASSERT_TRUE(!isSuperuser || ::seteuid(65534) == 0);
    EXPECT_THROW(std::ignore = record(setMember), RecordingError);
    ASSERT_TRUE(!isSuperuser || ::seteuid(0) == 0);
    fs::permissions(file.path().parent_path(), fs::perms(0755));
    expectUntouched(file, kOddities, "read-only folder");
}

json::Document mustParse(const fs::path& path) {
    auto document = json::parse(test::fileBytes(path));
    EXPECT_TRUE(document) << "a missing or partial file was seen";
    return document ? std::move(*document) : json::Document();
}

TEST(Recording, LosesNothingBetweenSeveralServers) {
    constexpr int kServers = 3;
    constexpr int kRecords = 40;
    const test::DataFile file(R"({"goals":[{"name":"g"}],"kept":[1,2.50]})");
    std::atomic<bool> done = false;
    std::thread reader([&] {
        while (!done) mustParse(file.path());
    });
    std::vector<std::thread> clients;
    for (int i = 0; i < kServers; ++i) {
        clients.emplace_back([] {
            test::ServerProcess server;
            for (int n = 0; n < kRecords; ++n) {
                server.send(call("add_transaction", R"({"amount":1})"));
                server.send(call("add_to_goal", R"({"goal":"G","amount":0.25})"));
                for (int answers = 0; answers < 2; ++answers) {
                    EXPECT_NE(server.readLine().value_or("").find(R"("isError":false)"),
                              std::string::npos);
                }
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
        while (!done) {
            try {
                EXPECT_EQ(record(setMember), "done");
            } catch (const RecordingError&) {  // the other one was quicker sixteen times
            }
        }
    });
    for (int n = 1; n <= kSaves && !HasFailure(); ++n) {
        // For an instant the version before may be in place, until it is noticed and put back.
        int seen = counter();
        for (int waited = 0; seen != n - 1 && waited < 1000; ++waited) {
            ::usleep(1000);
            seen = counter();
        }
        EXPECT_EQ(seen, n - 1) << "a change was undone";
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
        test::ServerProcess server;
        for (int n = 0; n < 20; ++n) server.send(call("add_transaction", R"({"amount":1})"));
        std::thread killer([&, pause = random() % 40000] {
            ::usleep(static_cast<useconds_t>(pause));
            server.sendSignal(round % 2 == 0 ? SIGKILL : SIGTERM);
        });
        while (server.readLine()) ++confirmed;
        killer.join();
        const json::Document document = mustParse(file.path());
        const std::size_t recorded = objectArrayField(document.root(), "transactions").size();
        EXPECT_GE(recorded, confirmed);
        confirmed = recorded;  // at most one was recorded and not confirmed any more
    }
}

}  // namespace
}  // namespace tovra
