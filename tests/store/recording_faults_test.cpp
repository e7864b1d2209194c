// What a recording leaves where calls fail, other programs interfere or the power goes.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <sstream>
#include <thread>
#include <tuple>
#include <utility>

#include "store/turnstile.h"
#include "support/folder_model.h"
#include "support/save_trial.h"
#include "tests/support/table.h"

namespace tovra {
namespace {

using support::FolderModel;
using support::outcome;
using Hook = std::function<int(std::string_view)>;

const std::string kName = "data.json";
const std::string kOld = R"({"theirs":0})";
const std::string kNew = "{\n  \"mine\" : 7,\n  \"theirs\" : 0\n}";

class RecordingFaults : public testing::Test {
    const support::EnvironmentScope path_{"TOVRA_DATA_FILE", "/folder/data.json"};
};

std::string failure(const std::string& reason) {
    return "The data file could not be saved: " + reason +
           " (/folder/data.json). Nothing was changed.";
}

// At each call of a save: it fails, or all from there on, or another program saves, perhaps right
// after a failure, or again whenever its version is put back.
TEST_F(RecordingFaults, LeaveAWholeFileAndSayWhatIsTrue) {
    // The folders in which a save takes ways of its own, with a file and without.
    for (const char folder : std::string("_WC]Q\\DP")) {
        for (const char* action : {"a", "i", "N", "s", "is", "s....i", "s...s...s"}) {
            bool isUsedUp = true;
            for (std::string script(1, folder); isUsedUp; script += '.') {
                const support::SaveTrial trial = support::trySave(script + action);
                EXPECT_EQ(trial.fault, "") << script << action;
                isUsedUp = trial.isUsedUp;
                ASSERT_LT(script.size(), 300U);
            }
        }
    }
}

// Before so many calls of that name, the action; the call itself goes on.
Hook first(int count, std::string_view name, const std::function<void()>& action) {
    return [=](std::string_view call) mutable {
        if (call == name && count-- > 0) action();
        return 0;
    };
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
    EXPECT_NE(
        outcome(model).find("other programs keep changing it; another version of the file is kept"),
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
        model.before = [call = call, reason = reason, left = times](std::string_view it) mutable {
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

// Another program writes into the file itself, at the last moment. The file is read in pieces.
TEST_F(RecordingFaults, SeeWhatIsWrittenIntoTheFile) {
    const std::string more = "\"more\": \"" + std::string(300'000, '-') + "\"";
    for (const int exchanges : {0, ENOTSUP}) {
        for (const char* theirs : {"1}", "0}\n", "0}x", "[]}", "{}}"}) {
            FolderModel model;
            const std::string begin = "{" + more + ",\"theirs\":";
            FolderModel::File& file = model.put(kName, begin + "0}");
            model.before = [&, isFirst = true](std::string_view call) mutable {
                if (call != "exchange") return 0;
                if (std::exchange(isFirst, false)) file.bytes = begin + theirs;
                return exchanges;
            };
            FolderModel same;
            same.put(kName, begin + theirs);
            EXPECT_EQ(outcome(model), outcome(same)) << theirs;
            EXPECT_EQ(model.bytes(kName), same.bytes(kName)) << theirs;
        }
    }
}

// Where the disk begins with a large file, and where that file is read in pieces. What no call may
// do is passed over.
TEST_F(RecordingFaults, OfALargeFileAreSeen) {
    const std::string old = "{\"theirs\":\"" + std::string(3'000'000, '-') + "\"}";
    for (const auto& [call, from, to, reason, said] :
         {std::tuple("begin synchronising", 1, 2, EIO, failure("Input/output error")),
          {"begin synchronising", 1, 2, ENOSPC, failure("No space left on device")},
          {"begin synchronising", 1, 99, ENOSYS, "done"},
          {"begin synchronising", 1, 99, EPERM, "done"},
          {"read", 7, 8, EIO, "done"}}) {
        FolderModel model;
        model.put(kName, old);
        model.before = [=, call = call, from = from, to = to, reason = reason,
                        calls = 0](std::string_view it) mutable {
            if (it == call) ++calls;
            return it == call && calls >= from && calls < to ? reason : 0;
        };
        EXPECT_EQ(outcome(model), said) << call << " " << reason;
        EXPECT_EQ(model.bytes(kName) == old, said != "done") << call << " " << reason;
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
