#include "support/save_trial.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cerrno>
#include <map>

#include "support/folder_model.h"

namespace tovra::support {
namespace {

const std::string kName = "data.json";
const std::string kRecordedAlone = "{\n  \"mine\" : 7\n}";

// Bits of the first byte.
enum Ability : unsigned {
    hasFile = 1,
    exchanges = 2,
    makesUnnamed = 4,
    namesUnnamed = 8,
    renamesExclusively = 16,
};

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
    explicit Trial(std::string_view script)
        : abilities_(static_cast<unsigned char>(script[0])), script_(script.substr(1)) {
        if (can(hasFile)) saveByOther();
        folder_.before = [this](std::string_view call) { return before(call); };
    }

    SaveTrial make() {
        const std::string said = outcome(folder_);
        checkFolder();
        said == "done" ? checkDone() : checkRefused(said);
        const bool isUsedUp = script_.empty();
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
        if (isUnsupported(call)) return ENOTSUP;
        if (lasting_ != 0 || script_.empty()) return lasting_;
        const char action = script_.front();
        script_.remove_prefix(1);
        if (action == 's' && !isTooLate(call)) saveByOther();
        const bool isLasting = std::isupper(static_cast<unsigned char>(action)) != 0;
        const int reason = reasonOf(action);
        if (isLasting) lasting_ = reason;
        hasFailed_ = hasFailed_ || reason != 0;
        return reason;
    }

    [[nodiscard]] bool isUnsupported(std::string_view call) const {
        return (call == "exchange" && !can(exchanges)) ||
               (call == "create unnamed" && !can(makesUnnamed)) ||
               (call == "link" && !can(namesUnnamed)) ||
               (call == "rename exclusively" && !can(renamesExclusively));
    }

    // Whether nobody could see any more what another program saves now: between the last look at
    // the file, and its renaming or its removal.
    [[nodiscard]] bool isTooLate(std::string_view call) const {
        return call == "rename" || call == "remove" || (call == "read" && !can(exchanges));
    }

    void saveByOther() {
        const std::string number = std::to_string(++saves_);
        const std::string text = "{\"theirs\":" + number + "}";
        folder_.put(kName, text);
        whole_[text] = saves_;
        whole_["{\n  \"mine\" : 7,\n  \"theirs\" : " + number + "\n}"] = saves_;
    }

    // The number of the save in a whole file, the only one being 0; -1 for any other text.
    [[nodiscard]] int saveIn(const std::string& text) const {
        const auto found = whole_.find(text);
        return found == whole_.end() ? -1 : found->second;
    }

    // What is there now, and what the power may leave of it.
    void checkFolder() {
        const std::string now = folder_.bytes(kName);
        if (isRecorded(now) && saveIn(now) == saves_) wasRecorded_ = true;
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
            const std::string text = names.contains(kName) ? names.at(kName)->bytes : "";
            require(isRecorded(text) || wasRecorded_, "what is confirmed is there, or was");
            require(saveIn(text) == saves_, "what is confirmed undoes no save");
        }
        require(hasFailed_ || folder_.names.size() == 1, "the file lies alone");
    }

    void checkRefused(const std::string& said) {
        constexpr int kFew = 4;
        require(hasFailed_ || saves_ > kFew, "nothing is refused for a few saves");
        require(said.starts_with("The data file could not be "),
                "a refusal says what could not be");
        if (said.ends_with("look before you try again.")) return;
        const std::string text = folder_.bytes(kName);
        require(!isRecorded(text), "nothing is recorded, as it says");
        require(text.empty() || saveIn(text) == saves_, "what is refused undoes no save");
        if (!said.ends_with("Nothing was changed.")) return;
        require(folder_.names.size() == (saves_ == 0 ? 0 : 1), "nothing was changed, as it says");
    }

    // After a call from which on all failed, as after the end of the process.
    void checkNext() {
        script_ = {};
        lasting_ = 0;
        require(outcome(folder_) == "done", "the next one is saved");
        require(isRecorded(folder_.bytes(kName)), "the next one is there");
        for (const auto& [name, file] : folder_.names) {
            require(can(makesUnnamed) || !name.ends_with(".tmp"), "what was left is cleared away");
        }
    }

    unsigned abilities_;
    std::string_view script_;
    Folder folder_;
    int saves_ = 0;             // of the other program
    bool wasRecorded_ = false;  // on top of its last one
    bool hasFailed_ = false;    // a call of the save
    int lasting_ = 0;           // the reason for which every call fails by now
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

SaveTrial trySave(std::string_view script) {
    assert(!script.empty());
    return Trial(script).make();
}

}  // namespace tovra::support
