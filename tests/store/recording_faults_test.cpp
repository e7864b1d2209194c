// What a recording leaves where calls fail, other programs interfere or the power goes.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <sstream>
#include <thread>
#include <tuple>

#include "store/turnstile.h"
#include "tests/store/recorded.h"
#include "tests/support/folder_model.h"
#include "tests/support/table.h"

namespace tovra {
namespace {

using test::FolderModel;
using test::outcome;
using Hook = std::function<int(std::string_view)>;

const std::string kName = "data.json";
const std::string kOld = R"({"theirs":0})";
const std::string kNew = "{\n  \"mine\": 7,\n  \"theirs\": 0\n}\n";
const std::string kAlone = "{\n  \"mine\": 7\n}\n";

class RecordingFaults : public testing::Test {
    const support::EnvironmentScope path_{"TOVRA_DATA_FILE", "/folder/data.json"};
};

std::string failure(const std::string& reason) {
    return "The data file could not be saved: " + reason +
           " (/folder/data.json). Nothing was changed.";
}

// What a file system can, and whether there is a file.
struct Kind {
    bool exists, exchanges, isUnnamed;

    [[nodiscard]] int unsupported(std::string_view call) const {
        const bool isMissing =
            (call == "exchange" && !exchanges) || (call == "create unnamed" && !isUnnamed);
        return isMissing ? ENOTSUP : 0;
    }
    [[nodiscard]] std::string before() const { return exists ? kOld : ""; }
    [[nodiscard]] std::string after() const { return exists ? kNew : kAlone; }
};
constexpr Kind kKinds[] = {{true, true, true},   {true, true, false}, {true, false, true},
                           {true, false, false}, {false, true, true}, {false, true, false}};

// What is left where the power goes now: the old file or the new one, whole.
void expectWhole(const Kind& kind, const FolderModel& model, bool isDone) {
    for (const auto& names : model.history) {
        const auto file = names.find(kName);
        if (file == names.end()) {
            EXPECT_TRUE(!kind.exists && !isDone);
            continue;
        }
        // What was not synchronised is lost, kept or torn.
        const auto& [bytes, onDisk] = std::tie(file->second->bytes, file->second->onDisk);
        const std::size_t torn = std::max(onDisk.size(), bytes.size() / 2);
        for (const std::string& left : {onDisk, bytes, (onDisk + bytes).substr(0, torn)}) {
            EXPECT_TRUE(left == kind.after() || (!isDone && kind.exists && left == kOld)) << left;
        }
    }
}

// The sentence and the bytes have to fit together.
void expectTrue(const Kind& kind, const FolderModel& model, const std::string& said) {
    const std::string now = model.bytes(kName);
    const bool isDone = said == "done";
    EXPECT_TRUE(isDone || said.starts_with("The data file could not be "));
    if (said.ends_with("look before you try again.")) {
        EXPECT_TRUE(now == kind.before() || now == kind.after()) << now;
    } else {
        EXPECT_EQ(now, isDone ? kind.after() : kind.before());
    }
    if (said.ends_with("Nothing was changed.")) {
        EXPECT_EQ(model.names.size(), kind.exists ? 1U : 0U) << "something lies there";
    }
    expectWhole(kind, model, isDone);
}

// Records as often as it has calls, one of them after the other failing.
void atEachCall(const std::function<int(int callsLeft)>& failure) {
    for (const Kind& kind : kKinds) {
        for (int n = 0, last = 0; last <= n; ++n) {
            FolderModel model;
            if (kind.exists) model.put(kName, kOld);
            int calls = 0;
            std::string name;
            model.before = [&](std::string_view call) {
                if (const int reason = kind.unsupported(call)) return reason;
                if (calls == n) name = call;
                return failure(n - calls++);
            };
            const std::string said = outcome(model);
            SCOPED_TRACE(testing::Message()
                         << (kind.exists ? "old file" : "no file") << ", exchange "
                         << kind.exchanges << ", unnamed " << kind.isUnnamed << ", call " << n
                         << " " << name << ": " << said);
            expectTrue(kind, model, said);
            if (calls <= n) break;
            ASSERT_LT(n, 300);
        }
    }
}

TEST_F(RecordingFaults, SayWhatIsTrueWhateverCallFailsOnceOrForGood) {
    // As by a power failure; the last is also that of a folder that may not be read.
    for (const int reason : {ENOSPC, EIO, EACCES}) {
        atEachCall([=](int left) { return left == 0 ? reason : 0; });
        atEachCall([=](int left) { return left <= 0 ? reason : 0; });
    }
}

// Before so many calls of that name, the action; the call itself goes on.
Hook first(int count, std::string_view name, const std::function<void()>& action) {
    return [=](std::string_view call) mutable {
        if (call == name && count-- > 0) action();
        return 0;
    };
}

TEST_F(RecordingFaults, NeverUndoWhatAnotherProgramSavesMeanwhile) {
    for (const Kind& kind : kKinds) {
        for (const char* call : {"open file", "status", "write", "look", "exchange", "synchronise",
                                 "link", "rename", "rename exclusively", "create"}) {
            for (const int times : {1, 3}) {
                FolderModel model;
                if (kind.exists) model.put(kName, kOld);
                int number = 0;
                // On file systems without exchange nothing can be done about the very last moment.
                if (!kind.exchanges && call == std::string("rename")) continue;
                const auto save = [&] {
                    model.put(kName, "{\"theirs\":" + std::to_string(++number) + "}");
                };
                model.before = [&, hook = first(times, call, save)](std::string_view it) mutable {
                    hook(it);
                    return kind.unsupported(it);
                };
                SCOPED_TRACE(testing::Message()
                             << call << ", " << times << " times, exchange " << kind.exchanges
                             << ", unnamed " << kind.isUnnamed);
                EXPECT_EQ(outcome(model), "done");
                const std::string theirs = support::replaced(kNew, "0", std::to_string(number));
                EXPECT_EQ(model.bytes(kName), number > 0 ? theirs : kind.after());
                EXPECT_EQ(model.names.size(), 1U);
            }
        }
    }
}

TEST_F(RecordingFaults, ArePassedOverOnlySoLong) {
    FolderModel model;
    model.put(kName, kOld);
    const auto save = [&] { model.put(kName, R"({"theirs":1})"); };
    model.before = first(1000, "look", save);
    EXPECT_EQ(outcome(model), failure("other programs keep changing it"));
    EXPECT_EQ(model.bytes(kName), R"({"theirs":1})");
    // Also where they are quicker between two exchanges.
    model.before = first(1000, "exchange", save);
    EXPECT_NE(outcome(model).find("other programs keep changing it; what was there before is kept"),
              std::string::npos);
    EXPECT_EQ(model.bytes(kName), R"({"theirs":1})");
    EXPECT_EQ(model.names.size(), 2U);
}

TEST_F(RecordingFaults, AreNoneWhereAnotherNameDoesOrAFolderNeedsNothing) {
    for (const auto& [call, reason, times] : {std::tuple("create", EEXIST, 3),
                                              {"synchronise folder", EINVAL, 99},
                                              {"synchronise folder", ENOTSUP, 99}}) {
        FolderModel model;
        model.put(kName, kOld);
        model.before = [&, left = times](std::string_view it) mutable {
            if (it == "create unnamed") return ENOTSUP;
            return it == call && left-- > 0 ? reason : 0;
        };
        EXPECT_EQ(outcome(model), "done") << call << " " << reason;
    }
}

TEST(Turnstile, ClosesWhenWhoIsInsideHasLeft) {
    Turnstile turnstile;
    ASSERT_TRUE(turnstile.enter());
    std::atomic<bool> hasLeft = false;
    std::thread inside([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hasLeft = true;
        turnstile.leave();
    });
    turnstile.close();
    EXPECT_TRUE(hasLeft && !turnstile.enter());
    inside.join();
}

// The file is looked at in the middle of another program's save.
TEST_F(RecordingFaults, LookAgainAtAFileThatIsAwayOrTorn) {
    for (const char* during : {"", "{", R"({"theirs":0)"}) {
        FolderModel model;
        *during == '\0' ? model.names.clear() : void(model.put(kName, during));
        int looks = 0;
        model.before = [&](std::string_view call) {
            if (call == "open file" && ++looks == 3) model.put(kName, kOld);
            return 0;
        };
        EXPECT_EQ(outcome(model), "done") << during;
        EXPECT_EQ(model.bytes(kName), kNew) << during;
    }
}

// What was killed before an exchange is removed, under the lock; what was killed after it may be
// somebody's only copy.
TEST_F(RecordingFaults, OfOthersAreClearedAway) {
    for (const bool isLockedByOther : {false, true}) {
        FolderModel model;
        for (const char* name : {"data.json", ".tovra-a.tmp", ".tovra-b.kept", "c.tmp"}) {
            model.put(name, kOld);
        }
        model.before = [=](std::string_view call) {
            return call == "link" ? EPERM : call == "lock" && isLockedByOther ? EWOULDBLOCK : 0;
        };
        EXPECT_EQ(outcome(model), "done");
        EXPECT_EQ(model.bytes(kName), kNew);
        EXPECT_EQ(model.names.size(), isLockedByOther ? 4U : 3U);
        EXPECT_EQ(model.names.count(".tovra-b.kept"), 1U);
    }
}

// Each takes the turn in which it came, and all wait for the folder together.
TEST_F(RecordingFaults, OfALockCostTwoSecondsTogether) {
    FolderModel model;
    model.put(kName, "{}");
    model.before = [](std::string_view call) { return call == "lock" ? EWOULDBLOCK : 0; };
    const auto start = std::chrono::steady_clock::now();
    std::string order;
    std::vector<std::thread> callers;
    for (char name = '1'; name <= '9'; ++name) {
        callers.emplace_back([&, name] {
            const auto change = [&](const DataSnapshot& snapshot) -> Change {
                order += name;
                return {json::Edit{snapshot.root(), {name}, "7"}, "done"};
            };
            EXPECT_EQ(changeDataFile(change, model), "done");
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(order, "123456789");
    const std::string bytes = model.bytes(kName);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '7'), 10) << bytes;
}

TEST_F(RecordingFaults, OfWhoAsksLeaveTheFile) {
    FolderModel model;
    model.put(kName, kOld);
    bool isThere = true;
    recordOnlyWhile([&] { return isThere; });
    model.before = first(1, "synchronise", [&] { isThere = false; });
    EXPECT_EQ(outcome(model), failure("the server is about to end"));
    recordOnlyWhile({});
    EXPECT_EQ(model.bytes(kName), kOld);
    EXPECT_EQ(model.names.size(), 1U);
}

std::string inWords(const FolderModel::File& file) {
    std::ostringstream text;
    text << file.owner << ':' << file.group << ' ' << std::oct << file.mode << std::dec;
    for (const AccessEntry& it : file.list) {
        text << ' ' << it.kind << '=' << it.rights;
        if ((it.kind & (AccessEntry::user | AccessEntry::otherGroup)) != 0) text << '@' << it.id;
    }
    return text.str();
}

std::string recordInto(const test::Row& row) {
    FolderModel model;
    FolderModel::File& file = model.put(kName, kOld);
    char colon = 0;
    std::istringstream(row[1]) >> file.owner >> colon >> file.group >> std::oct >> file.mode;
    if (row[2] == "list") file.list = {{1, 6, 0}, {2, 6, 7}, {4, 4, 0}, {16, 6, 0}, {32, 0, 0}};
    const auto may = [&](const char* what) { return row[3].find(what) < row[3].size(); };
    bool hasInherited = true;
    model.before = [&](std::string_view call) {
        if (call == "attributes") hasInherited = false;
        EXPECT_FALSE(call == "write" && hasInherited) << "others may read what is written";
        if (call == "owner" && !may("chown")) return EPERM;
        const bool isList = call == "access list" || call == "set access list";
        if (isList && !may("lists")) return ENOTSUP;
        return call == "may write" && !may("write") ? EACCES : 0;
    };
    const std::string said = outcome(model);
    EXPECT_EQ(model.bytes(kName), said == "done" ? kNew : kOld);
    return said == "done" ? inWords(*model.names.at(kName)) : said;
}

TEST_F(RecordingFaults, OfOwnersNeitherGiveNorTakeAccess) {
    test::expectTable("store/golden/owners.txt", {{"record", recordInto}});
}

}  // namespace
}  // namespace tovra
