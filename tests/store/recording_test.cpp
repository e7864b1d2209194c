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
    EXPECT_EQ(test::fileBytes(file.path()), R"({
  "a": null,
  "mine": 7,
  "t\u0000\n\"": "😀)"
                                            "\x7f"
                                            R"(/",
  "transactions": [
    {
      "amount": 1.50
    }
  ],
  "z": {
    "a": [
      1e-7,
      -0.0,
      123456789012345678901234567890,
      1e999,
      {}
    ],
    "b": 0.10,
    "é": []
  }
}
)");
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

// Lets one system call fail, the n-th of a save.
class FailingSystem : public FileSystem {
  public:
    FailingSystem(int n, int reason, bool canExchange)
        : left_(n), reason_(reason), canExchange_(canExchange) {}

    [[nodiscard]] bool hasFailed() const { return left_ <= 0; }

    int createExclusively(const fs::path& path, mode_t mode) override {
        return fails() ? -1 : FileSystem::createExclusively(path, mode);
    }
    ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
        return fails() ? -1 : FileSystem::write(descriptor, bytes, (count + 1) / 2);
    }
    int changeMode(int descriptor, mode_t mode) override {
        return fails() ? -1 : FileSystem::changeMode(descriptor, mode);
    }
    int synchronise(int descriptor) override {
        return fails() ? -1 : FileSystem::synchronise(descriptor);
    }
    int close(int descriptor) override {
        const int result = FileSystem::close(descriptor);
        return fails() ? -1 : result;
    }
    int rename(const fs::path& from, const fs::path& to) override {
        return fails() ? -1 : FileSystem::rename(from, to);
    }
    int renameExclusively(const fs::path& from, const fs::path& to) override {
        return fails() ? -1 : FileSystem::renameExclusively(from, to);
    }
    int exchange(const fs::path& a, const fs::path& b) override {
        if (!canExchange_) {
            errno = ENOTSUP;
            return -1;
        }
        return fails() ? -1 : FileSystem::exchange(a, b);
    }

  private:
    bool fails() {
        if (--left_ != 0) return false;
        errno = reason_;
        return true;
    }

    int left_;
    int reason_;
    bool canExchange_;
};

// Without a way to exchange files a directory that cannot be synchronised goes unnoticed: the save
// is done by then.
TEST(Recording, ChangesNothingWhateverCallOfASaveFails) {
    for (const bool exists : {true, false}) {
        for (const bool canExchange : {true, false}) {
            int failures = 0;
            for (int n = 1; n < 100; ++n) {
                const test::DataFile file(kOddities);
                if (!exists) fs::remove(file.path());
                FailingSystem system(n, ENOSPC, canExchange);
                try {
                    EXPECT_EQ(record(setMember, system), "done");
                    if (!system.hasFailed()) break;
                    EXPECT_TRUE(exists && !canExchange) << n;
                } catch (const RecordingError& error) {
                    ++failures;
                    EXPECT_EQ(error.what(),
                              "The data file could not be saved: No space left on device (" +
                                  file.path().string() + "). Nothing was changed.");
                    if (exists) {
                        expectUntouched(file, kOddities, std::to_string(n));
                    } else {
                        EXPECT_TRUE(namesIn(file.path().parent_path()).empty()) << n;
                    }
                }
            }
            EXPECT_GE(failures, 8) << exists << canExchange;
        }
    }
}

// Another program replaces the file between our last look at it and the exchange, again and again.
class IntrudedSystem : public FileSystem {
  public:
    IntrudedSystem(fs::path target, int times) : target_(std::move(target)), left_(times) {}

    int exchange(const fs::path& a, const fs::path& b) override {
        if (left_ > 0) {
            test::writeFile(target_.parent_path() / "other",
                            R"({"theirs":)" + std::to_string(left_--) + "}");
            fs::rename(target_.parent_path() / "other", target_);
        }
        return FileSystem::exchange(a, b);
    }

  private:
    fs::path target_;
    int left_;
};

TEST(Recording, NeverUndoesAVersionThatSlipsInAtTheLastMoment) {
    for (const int times : {1, 2, 3, 7}) {
        const test::DataFile file(kOddities);
        IntrudedSystem system(file.path(), times);
        EXPECT_EQ(record(setMember, system), "done");
        expectUntouched(file, "{\n  \"mine\": 7,\n  \"theirs\": 1\n}\n", std::to_string(times));
    }
}

// Another program replaces the file at every try, in time to be seen.
class TirelesslyIntrudedSystem : public FileSystem {
  public:
    explicit TirelesslyIntrudedSystem(fs::path target) : target_(std::move(target)) {}

    int createExclusively(const fs::path& path, mode_t mode) override {
        test::writeFile(target_.parent_path() / "other", R"({"theirs":1})");
        fs::rename(target_.parent_path() / "other", target_);
        return FileSystem::createExclusively(path, mode);
    }

  private:
    fs::path target_;
};

TEST(Recording, GivesUpWhenTheFileChangesAtEveryTry) {
    const test::DataFile file(kOddities);
    TirelesslyIntrudedSystem system(file.path());
    EXPECT_THROW(std::ignore = record(setMember, system), RecordingError);
    expectUntouched(file, R"({"theirs":1})", "tireless");
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
    for (int n = 1; n <= kSaves; ++n) {
        for (int waited = 0; counter() != n - 1 && waited < 1000; ++waited) ::usleep(1000);
        ASSERT_EQ(counter(), n - 1) << "a change was undone";
        test::writeFile(file.path().parent_path() / "other",
                        R"({"counter":)" + std::to_string(n) + "}");
        fs::rename(file.path().parent_path() / "other", file.path());
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
