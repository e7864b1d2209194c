// What a recording leaves where calls fail, other programs interfere or the power goes.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>

#include "files/leftovers.h"
#include "support/folder_model.h"
#include "support/save_trial.h"
#include "support/test_environment.h"

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

// At each call of a save: it fails, or all from there on, or it fails after it was done, or another
// program saves, perhaps right after a failure, or again whenever its version is put back.
TEST_F(RecordingFaults, LeaveAWholeFileAndSayWhatIsTrue) {
    using namespace support;
    for (const unsigned abilities :
         {0U, 0U | renamesExclusively, 0U | hasFolder, hasFolder | renamesExclusively,
          hasFolder | hasFile, hasFolder | hasFile | exchanges,
          hasFolder | hasFile | exchanges | renamesExclusively}) {
        for (const char* action : {"a", "i", "N", "s", "w", "d", "is", "ds", "dd", "iw", "s....i",
                                   "s...s...s", "w....d"}) {
            bool isUsedUp = true;
            for (std::string script; isUsedUp; script += '.') {
                const SaveTrial trial = trySave(abilities, script + action);
                EXPECT_EQ(trial.fault, "") << abilities << " " << script << action;
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

TEST_F(RecordingFaults, AreNoneWhereAFolderHasNothingToSynchronise) {
    for (const int reason : {EINVAL, ENOTSUP}) {
        FolderModel model;
        model.put(kName, kOld);
        model.before = [=](std::string_view it) { return it == "synchronise folder" ? reason : 0; };
        EXPECT_EQ(outcome(model), "done") << reason;
    }
}

// Also where the folder cannot be opened to be synchronised.
TEST_F(RecordingFaults, OfAFolderThatMayNotBeReadAreNone) {
    FolderModel model;
    model.put(kName, kOld);
    int synchronised = 0;
    model.before = [&](std::string_view it) {
        if (it == "synchronise all") ++synchronised;
        return it == "open folder" || it == "names" ? EACCES : 0;
    };
    EXPECT_EQ(outcome(model), "done");
    EXPECT_EQ(synchronised, 1);
    EXPECT_EQ(model.names.size(), 1U);
}

// A sandbox may forbid what the system has.
TEST_F(RecordingFaults, AreNoneWhereACallIsForbidden) {
    for (const bool hasFile : {false, true}) {
        FolderModel model;
        if (hasFile) model.put(kName, kOld);
        model.before = [](std::string_view it) {
            return it == "exchange" || it == "rename exclusively" ? EPERM : 0;
        };
        EXPECT_EQ(outcome(model), "done");
        EXPECT_EQ(model.names.size(), 1U);
    }
}

// Another program changes the mode meanwhile.
TEST_F(RecordingFaults, KeepTheModeThatTheFileHasAtLast) {
    for (const int exchanges : {0, ENOTSUP}) {
        FolderModel model;
        FolderModel::File& file = model.put(kName, kOld);
        model.before = [&, exchanges](std::string_view it) {
            if (it == "synchronise" && file.mode != 0640) file.mode = 0640, file.changed += 100;
            return it == "exchange" ? exchanges : 0;
        };
        EXPECT_EQ(outcome(model), "done");
        EXPECT_EQ(model.names.at(kName)->mode, 0640U);
    }
}

// Another program removes what an exchange has put in, before that is undone.
TEST_F(RecordingFaults, PutBackWhatAnotherProgramSavedAlsoWhereItIsRemovedAgain) {
    for (const int failure : {0, EIO + FolderModel::done}) {
        FolderModel model;
        model.put(kName, kOld);
        model.before = [&, calls = 0](std::string_view it) mutable {
            if (it == "exchange" && ++calls == 1) model.put(kName, R"({"theirs":1})");
            if (it == "exchange" && calls == 2) model.names.erase(kName);
            return it == "rename exclusively" ? failure : 0;
        };
        EXPECT_EQ(outcome(model), "done");
        EXPECT_EQ(model.bytes(kName), support::replaced(kNew, "0", "1"));
        EXPECT_EQ(model.names.size(), 1U);
    }
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

// What was killed is removed, under the lock, but for what may be somebody's only copy.
TEST_F(RecordingFaults, OfOthersAreClearedAway) {
    ByteHash old;
    old.add(kOld);
    const std::string onlyCopy = keptName(unfinishedName(), old.value() + 1, 0);
    for (const bool isLockedByOther : {false, true}) {
        FolderModel model;
        for (const std::string& name :
             {kName, unfinishedName(), keptName(unfinishedName(), old.value(), 0),
              keptName(unfinishedName(), 0, old.value()), onlyCopy, std::string(".tovra-b.kept"),
              std::string("c.tmp"), keptName(unfinishedName(), old.value(), 0) + "x"}) {
            model.put(name, kOld);
        }
        model.before = [=](std::string_view call) {
            return call == "lock" && isLockedByOther ? EWOULDBLOCK : 0;
        };
        EXPECT_EQ(outcome(model), "done");
        EXPECT_EQ(model.bytes(kName), kNew);
        EXPECT_EQ(model.names.size(), isLockedByOther ? 8U : 5U);
        EXPECT_EQ(model.bytes(onlyCopy), kOld);
        EXPECT_EQ(model.bytes(".tovra-b.kept"), kOld);
    }
}

// Another process works without the lock: it exchanges what was found superfluous, and what comes
// out is somebody's save.
TEST_F(RecordingFaults, OfOthersAreNotClearedAwayWhereTheyBecomeAnOnlyCopy) {
    ByteHash old;
    old.add(kOld);
    const std::string kept = keptName(unfinishedName(), 0, old.value());
    FolderModel model;
    model.put(kName, kOld);
    model.put(kept, kOld);
    model.before = [&, isFirst = true](std::string_view call) mutable {
        const bool isNow = call == "rename" || call == "remove";
        if (isNow && std::exchange(isFirst, false)) model.put(kept, "theirs");
        return 0;
    };
    EXPECT_EQ(outcome(model), "done");
    EXPECT_EQ(model.bytes(kName), kNew);
    EXPECT_EQ(model.bytes(kept), "theirs");
    EXPECT_EQ(model.names.size(), 2U);
}

// What came out of the exchange is away for a moment: it may be another program's save.
TEST_F(RecordingFaults, OfAnotherThatTakesWhatCameOutAreSeen) {
    FolderModel model;
    model.put(kName, kOld);
    FolderModel::FilePointer taken;
    std::string kept;
    model.before = [&, exchanges = 0, looks = 0](std::string_view call) mutable {
        if (call == "exchange" && ++exchanges == 1) model.put(kName, R"({"theirs":1})");
        if (call != "look" || exchanges != 1 || ++looks > 2) return 0;
        if (looks == 2) model.names[kept] = taken;
        for (auto& [name, file] : model.names) {
            if (looks == 1 && name != kName) kept = name, taken = file;
        }
        if (looks == 1) model.names.erase(kept);
        return 0;
    };
    EXPECT_EQ(outcome(model), "done");
    EXPECT_EQ(model.bytes(kName), support::replaced(kNew, "0", "1"));
    EXPECT_EQ(model.names.size(), 1U);
}

// Where what came out is gone before it is put back, no file is promised.
TEST_F(RecordingFaults, NameNoFileThatIsGone) {
    FolderModel model;
    model.put(kName, kOld);
    model.before = [&, isBack = false](std::string_view call) mutable {
        if (call == "look" && isBack) {
            std::erase_if(model.names, [](auto& it) { return it.first != kName; });
        }
        isBack = isBack || call == "synchronise folder";
        return call == "synchronise folder" ? EIO : 0;
    };
    const std::string said = outcome(model);
    EXPECT_EQ(said.find("kept in"), std::string::npos) << said;
    EXPECT_NE(said.find("It may have been recorded"), std::string::npos) << said;
}

// The lock spares work, and is not needed: another process clears away what this one is using.
TEST_F(RecordingFaults, OfAnotherThatClearsAwayAreNone) {
    for (const char* when : {"rename", "exchange", "look", "remove", "rename exclusively"}) {
        for (const bool hasFile : {false, true}) {
            FolderModel model;
            if (hasFile) model.put(kName, kOld);
            model.before = [&, isFirst = true](std::string_view call) mutable {
                const bool isNow = call == when && (call != "look" || model.bytes(kName) == kNew);
                if (isNow && std::exchange(isFirst, false)) {
                    std::erase_if(model.names, [](auto& it) { return it.first != kName; });
                }
                return 0;
            };
            EXPECT_EQ(outcome(model), "done") << when;
            EXPECT_EQ(model.bytes(kName), hasFile ? kNew : "{\n  \"mine\" : 7\n}") << when;
            EXPECT_EQ(model.names.size(), 1U) << when;
        }
    }
}

// A folder that stays is owned up to, whoever has made it.
TEST_F(RecordingFaults, OfANewFolderAreOwnedUpTo) {
    const std::string said =
        "The data file could not be saved: Input/output error (/folder/data.json).";
    for (const auto& [call, reason, isGone] :
         {std::tuple("", 0, true), {"remove folder", EIO, false}, {"make folder", EIO, false}}) {
        FolderModel model;
        model.hasFolder = false;
        model.before = [=, call = call, reason = reason](std::string_view it) {
            if (it == call) return reason + (it == "make folder" ? FolderModel::done : 0);
            return it == "create" ? EIO : 0;
        };
        EXPECT_EQ(outcome(model), isGone ? said + " Nothing was changed." : said) << call;
        EXPECT_EQ(model.hasFolder, !isGone) << call;
    }
}

// A link that leads nowhere is in the way, and nothing was made.
TEST_F(RecordingFaults, OfALinkInThePlaceOfAFolderChangeNothing) {
    const support::TemporaryFolder folder;
    std::filesystem::create_symlink("nowhere", folder / "link");
    const support::EnvironmentScope path("TOVRA_DATA_FILE", folder / "link" / "data.json");
    EXPECT_TRUE(outcome().ends_with(" Nothing was changed.")) << outcome();
}

TEST_F(RecordingFaults, OfWhoAsksLeaveTheFile) {
    static bool isThere;
    isThere = true;
    FolderModel model;
    model.put(kName, kOld);
    recordOnlyWhile([] { return isThere; });
    model.before = first(1, "synchronise", [&] { isThere = false; });
    EXPECT_EQ(outcome(model), failure("the server is about to end"));
    model.before = [](std::string_view) { return ADD_FAILURE() << "a call", 0; };
    EXPECT_EQ(outcome(model), "The server is about to end. Nothing was changed.");
    EXPECT_EQ(model.bytes(kName), kOld);
    EXPECT_EQ(model.names.size(), 1U);
    recordOnlyWhile([] { return true; });
}

}  // namespace
}  // namespace tovra
