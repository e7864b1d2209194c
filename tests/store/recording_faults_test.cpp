// What a recording leaves where calls fail, other programs interfere or the power goes.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <tuple>

#include "store/recording.h"
#include "tests/support/folder_model.h"
#include "tests/support/scopes.h"

namespace tovra {
namespace {

using test::FolderModel;
using Hook = std::function<int(std::string_view)>;

const std::string kName = "data.json";
const std::string kOld = R"({"theirs":0})";
const std::string kNew = "{\n  \"mine\": 7,\n  \"theirs\": 0\n}\n";
const std::string kAlone = "{\n  \"mine\": 7\n}\n";

Change setMember(const DataSnapshot& snapshot) {
    return {json::Edit{snapshot.root(), "mine", "7"}, "done"};
}

// Why nothing was recorded; "done" when it was.
std::string outcome(FolderModel& system) {
    const test::EnvironmentScope path("TOVRA_DATA_FILE", "/folder/data.json");
    try {
        return changeDataFile(setMember, system);
    } catch (const RecordingError& error) {
        return error.what();
    }
}

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

// Records as often as it has calls, disturbed at one of them after the other.
void atEachCall(const std::function<int(FolderModel&, int callsLeft)>& disturb,
                const std::function<void(const Kind&, FolderModel&, const std::string&)>& expect) {
    for (const Kind& kind : kKinds) {
        for (int n = 0, last = 0; last <= n; ++n) {
            FolderModel model;
            if (kind.exists) model.put(kName, kOld);
            int calls = 0;
            std::string name;
            model.before = [&](std::string_view call) {
                if (const int reason = kind.unsupported(call)) return reason;
                if (calls == n) name = call;
                return disturb(model, n - calls++);
            };
            const std::string said = outcome(model);
            SCOPED_TRACE(testing::Message()
                         << (kind.exists ? "old file" : "no file") << ", exchange "
                         << kind.exchanges << ", unnamed " << kind.isUnnamed << ", call " << n
                         << " " << name << ": " << said);
            expect(kind, model, said);
            if (calls <= n) break;
            ASSERT_LT(n, 300);
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
}

TEST(RecordingFaults, SayWhatIsTrueWhateverCallFailsOnceOrForGood) {
    atEachCall([](auto&, int left) { return left == 0 ? ENOSPC : 0; }, expectTrue);
    atEachCall([](auto&, int left) { return left <= 0 ? EIO : 0; }, expectTrue);
}

TEST(RecordingFaults, LeaveTheOldFileOrTheNewOneWhereThePowerGoes) {
    const auto switchOff = [](FolderModel& model, int left) {
        model.isOff = left <= 0;
        return left <= 0 ? EIO : 0;
    };
    atEachCall(switchOff, [](const Kind& kind, FolderModel& model, const std::string& said) {
        for (const auto& names : model.history) {
            const auto file = names.find(kName);
            if (file == names.end()) {
                EXPECT_TRUE(!kind.exists && said != "done");
                continue;
            }
            // What was not synchronised is lost, kept or torn.
            const auto& [bytes, onDisk] = std::tie(file->second->bytes, file->second->onDisk);
            for (const std::string& left :
                 {onDisk, bytes,
                  (onDisk + bytes).substr(0, std::max(onDisk.size(), bytes.size() / 2))}) {
                EXPECT_TRUE(left == kind.after() ||
                            (said != "done" && left == kind.before() && kind.exists))
                    << left;
            }
        }
    });
}

// Before so many calls of that name, the action; the call itself goes on.
Hook first(int count, std::string_view name, const std::function<void()>& action) {
    return [=](std::string_view call) mutable {
        if (call == name && count-- > 0) action();
        return 0;
    };
}

TEST(RecordingFaults, NeverUndoWhatAnotherProgramSavesMeanwhile) {
    const std::string theirs = "{\n  \"mine\": 7,\n  \"theirs\": 1\n}\n";
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
                std::string expected = kind.after();
                if (number > 0)
                    expected = theirs,
                    expected.replace(expected.rfind('1'), 1, std::to_string(number));
                EXPECT_EQ(model.bytes(kName), expected);
                EXPECT_EQ(model.names.size(), 1U);
            }
        }
    }
}

TEST(RecordingFaults, ArePassedOverOnlySoLong) {
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

// The file is looked at in the middle of another program's save.
TEST(RecordingFaults, LookAgainAtAFileThatIsAwayOrTorn) {
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
TEST(RecordingFaults, OfOthersAreClearedAway) {
    for (const bool isLockedByOther : {false, true}) {
        FolderModel model;
        for (const char* name : {"data.json", ".tovra-a.tmp", ".tovra-b.kept", "c.tmp"}) {
            model.put(name, kOld);
        }
        model.isLockedByOther = isLockedByOther;
        model.before = [](std::string_view call) { return call == "link" ? EPERM : 0; };
        EXPECT_EQ(outcome(model), "done");
        EXPECT_EQ(model.bytes(kName), kNew);
        EXPECT_EQ(model.names.size(), isLockedByOther ? 4U : 3U);
        EXPECT_EQ(model.names.count(".tovra-b.kept"), 1U);
    }
}

// Each takes the turn in which it came, and all wait for the folder together.
TEST(RecordingFaults, OfALockCostTwoSecondsTogether) {
    const test::EnvironmentScope path("TOVRA_DATA_FILE", "/folder/data.json");
    FolderModel model;
    model.put(kName, "{}");
    model.isLockedByOther = true;
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

TEST(RecordingFaults, OfWhoAsksLeaveTheFile) {
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
    std::string text = std::to_string(file.owner) + ":" + std::to_string(file.group);
    for (const unsigned shift : {6U, 3U, 0U}) text += std::to_string((file.mode >> shift) & 7U);
    for (const AccessEntry& it : file.list) {
        text += " " + std::to_string(it.kind) + "=" + std::to_string(it.rights);
        if (it.kind == AccessEntry::user || it.kind == AccessEntry::otherGroup) {
            text += "@" + std::to_string(it.id);
        }
    }
    return text;
}

// User 1000 of group 1000 records. User 1 is a member of group 1; the kinds of entries in a list
// are owner 1, user 2, group 4, other group 8, mask 16, others 32.
TEST(RecordingFaults, OfOwnersNeitherGiveNorTakeAccess) {
    const AccessList list{{1, 6, 0}, {2, 6, 7}, {4, 4, 0}, {16, 6, 0}, {32, 0, 0}};
    struct {
        uid_t owner;
        gid_t group;
        mode_t mode;
        AccessList list;
        bool mayChangeOwner, hasLists, mayWrite;
        std::string expected;
    } rows[] = {
        {1, 1, 0640, {}, true, true, true, "1:1640"},
        {1, 1, 0660, list, true, true, true, "1:1660 1=6 2=6@7 4=4 16=6 32=0"},
        {1000, 1000, 0640, list, true, false, true, "1000:1000640"},
        // the owner is a member of the group, or one of the others
        {1, 1000, 0666, {}, false, true, true, "1000:1000666"},
        {0, 1000, 0664, {}, false, true, true, "1000:1000664"},
        {0, 1000, 0644, {}, false, true, false, "1000:1000444"},
        // the owner and the group are named in the list
        {1, 1000, 0600, {}, false, true, true, "1000:1000600 1=6 2=6@1 4=0 16=6 32=0"},
        {1000, 2, 0640, {}, false, true, true, "1000:1000600 1=6 4=0 8=4@2 16=4 32=0"},
        {1000, 2, 0660, list, false, true, true, "1000:1000600 1=6 2=6@7 4=0 8=4@2 16=6 32=0"},
        {1000, 2, 0644, {}, false, true, true, "1000:1000644"},
        // there is no way
        {1, 1000, 0600, {}, false, false, true, "its owner, daemon, would lose access to it"},
        {1000, 2, 0640, {}, false, false, true, "its group, bin, would lose access to it"},
        {1000, 2, 0604, {}, false, true, true, "its group, bin, cannot be kept"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected);
        FolderModel model;
        FolderModel::File& file = model.put(kName, kOld);
        std::tie(file.owner, file.group, file.mode, file.list) =
            std::tie(row.owner, row.group, row.mode, row.list);
        const std::string before = inWords(file);
        model.mayChangeOwner = row.mayChangeOwner;
        model.hasAccessLists = row.hasLists;
        model.before = [&](auto call) { return call == "may write" && !row.mayWrite ? EACCES : 0; };
        const std::string said = outcome(model);
        const FolderModel::File& now = *model.names.at(kName);
        if (said == "done") {
            EXPECT_EQ(inWords(now), row.expected);
        } else {
            EXPECT_EQ(said, failure(row.expected));
            EXPECT_EQ(inWords(now), before);
        }
        EXPECT_EQ(now.bytes, said == "done" ? kNew : kOld);
    }
}

}  // namespace
}  // namespace tovra
