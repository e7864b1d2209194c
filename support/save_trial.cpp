#include "support/save_trial.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <map>

#include "support/folder_model.h"

namespace tovra::support {
namespace {

const std::string kName = "data.json";
const std::string kRecordedAlone = "{\n  \"mine\" : 7\n}";

bool isRecorded(const std::string& text) { return text.find("mine") != std::string::npos; }

int reasonOf(char action) {
    switch (std::tolower(static_cast<unsigned char>(action))) {
        case 'n':
            return ENOSPC;
        case 'i':
            return EIO;
        case 'a':
            return EACCES;
        default:
            return 0;
    }
}

class Trial {
  public:
    Trial(unsigned abilities, std::string_view script) : abilities_(abilities), script_(script) {
        folder_.hasFolder = folder_.isFolderOnDisk = can(hasFolder);
        if (can(hasFile)) saveByOther();
        folder_.before = [this](std::string_view call) { return before(call); };
    }

    SaveTrial make() {
        const std::string said = outcome(folder_);
        const bool isUsedUp = script_.empty();
        checkFolder();
        said == "done" ? checkDone() : checkRefused(said);
        checkNext();
        return {fault_, isUsedUp};
    }

  private:
    // No time passes.
    struct Folder : FolderModel {
        void pause(std::chrono::milliseconds /*time*/) override {}
    };

    [[nodiscard]] bool can(Ability ability) const { return (abilities_ & ability) != 0; }

    void require(bool holds, std::string_view sentence) {
        if (!holds && fault_.empty()) fault_ = sentence;
    }

    int before(std::string_view call) {
        checkFolder();
        if (call == "exchange" && !can(exchanges)) return ENOTSUP;
        if (call == "rename exclusively" && !can(renamesExclusively)) return ENOTSUP;
        hasMoved_ =
            hasMoved_ || call.starts_with("rename") || call == "make folder" || call == "remove";
        if (lasting_ != 0 || script_.empty()) return lasting_;
        const char action = script_.front();
        script_.remove_prefix(1);
        if (action == 's' && !isTooLate(call)) saveByOther();
        if (action == 'w' && !isTooLate(call)) writeByOther();
        const int reason = action == 'd' ? EIO + FolderModel::done : reasonOf(action);
        if (std::isupper(static_cast<unsigned char>(action)) != 0) lasting_ = reason;
        if (reason != 0) ++failures_;
        return reason;
    }

    // Whether nothing could tell any more that another program saves now. The system has no call
    // that looks and renames in one step, but for exchanging and for renaming exclusively.
    [[nodiscard]] bool isTooLate(std::string_view call) const {
        const bool createsBlindly = saves_ == 0 && !can(renamesExclusively);
        return call == "rename over" || (call == "rename" && createsBlindly);
    }

    std::string nextVersion() {
        wasOverwritten_ = wasOverwritten_ || holdsRecord(folder_.names);
        const std::string number = std::to_string(++saves_);
        std::string text = "{\"theirs\":" + number + "}";
        whole_[text] = saves_;
        whole_["{\n  \"mine\" : 7,\n  \"theirs\" : " + number + "\n}"] = saves_;
        return text;
    }

    void saveByOther() { folder_.put(kName, nextVersion()); }

    void writeByOther() {
        if (!folder_.names.contains(kName)) return saveByOther();
        folder_.putInto(kName, nextVersion());
    }

    // The number of the save in a whole file, the only one being 0; -1 for any other text.
    [[nodiscard]] int saveIn(const std::string& text) const {
        const auto found = whole_.find(text);
        return found == whole_.end() ? -1 : found->second;
    }

    // The record, on top of the last save.
    [[nodiscard]] bool holdsRecord(const FolderModel::Names& names) const {
        if (!names.contains(kName)) return false;
        const std::string& text = names.at(kName)->bytes;
        return isRecorded(text) && saveIn(text) == saves_;
    }

    // What is there now, and what the power may leave of it.
    void checkFolder() {
        for (const FolderModel::Names& names : folder_.history) {
            require(saves_ == 0 || names.contains(kName), "there is a file");
            const auto isLast = [&](const auto& entry) {
                const auto& [name, file] = entry;
                return (name == kName || name.ends_with(".kept")) && saveIn(file->bytes) == saves_;
            };
            require(saves_ == 0 || std::any_of(names.begin(), names.end(), isLast),
                    "the last version is there");
            if (names.contains(kName)) checkWhole(*names.at(kName));
        }
    }

    // What was not synchronised is lost, kept or torn.
    void checkWhole(const FolderModel::File& file) {
        const std::size_t torn = std::max(file.onDisk.size(), file.bytes.size() / 2);
        for (const std::string& left :
             {file.onDisk, file.bytes, (file.onDisk + file.bytes).substr(0, torn)}) {
            require(saveIn(left) >= 0, "the file is a whole one");
        }
    }

    void checkDone() {
        for (const FolderModel::Names& names : folder_.history) {
            require(holdsRecord(names) || wasOverwritten_, "what is confirmed survives a crash");
        }
        require(saveIn(folder_.bytes(kName)) == saves_, "what is confirmed undoes no save");
        require(folder_.isFolderOnDisk, "the folder of what is confirmed survives a crash");
        require(failures_ > 0 || folder_.names.size() == 1, "the file lies alone");
    }

    void checkRefused(const std::string& said) {
        constexpr int kFew = 4;
        require(failures_ > 0 || saves_ > kFew, "nothing is refused for a few saves");
        require(said.starts_with("The data file could not be "),
                "a refusal says what could not be");
        const bool isUnchanged = said.ends_with("Nothing was changed.");
        require(isUnchanged || hasMoved_ || failures_ > 1 || lasting_ != 0,
                "a failure at the beginning leaves everything as it was");
        if (said.ends_with("look before you try again.")) return;
        for (const FolderModel::Names& names : folder_.history) {
            require(!holdsRecord(names), "nothing is recorded, as it says");
        }
        require(saves_ == 0 || saveIn(folder_.bytes(kName)) == saves_,
                "what is refused undoes no save");
        if (!isUnchanged) return;
        require(folder_.names.size() == (saves_ == 0 ? 0 : 1), "nothing was changed, as it says");
        require(folder_.hasFolder == (can(hasFolder) || saves_ > 0),
                "no folder was made, as it says");
    }

    // What the next recording leaves, now and after the power has failed.
    void checkNext() {
        script_ = {};
        lasting_ = 0;
        const std::array states{folder_.history.front(), folder_.names};
        for (const FolderModel::Names& state : states) {
            folder_.names = state;
            folder_.history = {state};
            const bool hadLast = saveIn(folder_.bytes(kName)) == saves_;
            require(outcome(folder_) == "done", "the next one is saved");
            require(isRecorded(folder_.bytes(kName)), "the next one is there");
            require(!hadLast || folder_.names.size() == 1, "what was left is cleared away");
        }
    }

    unsigned abilities_;
    std::string_view script_;
    Folder folder_;
    int saves_ = 0;                // of the other program
    bool wasOverwritten_ = false;  // the record, by the other program
    bool hasMoved_ = false;        // there was a call that gives, moves or takes a name
    int failures_ = 0;             // of calls of the save
    int lasting_ = 0;              // the reason for which every call fails by now
    std::map<std::string, int> whole_{{kRecordedAlone, 0}};
    std::string fault_;
};

}  // namespace

Change setMember(const DataSnapshot& snapshot) {
    return {json::Edit{snapshot.root(), "mine", "7"}, "done"};
}

std::string outcome(FileSystem& system) {
    try {
        return changeDataFile(setMember, system);
    } catch (const RecordingError& error) {
        return error.what();
    }
}

SaveTrial trySave(unsigned abilities, std::string_view script) {
    return Trial(abilities, script).make();
}

}  // namespace tovra::support
