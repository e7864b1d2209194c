#include "check/findings.h"

#include <algorithm>
#include <cerrno>
#include <span>

namespace tovra::check {
namespace {

// "1 transaction", "12 transactions".
std::string number(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string inQuotes(std::string_view text) { return "\"" + std::string(text) + "\""; }

// The first texts, quoted, and how many more there are.
template <typename Text>
std::string some(const std::vector<Text>& texts) {
    constexpr std::size_t kShown = 5;
    std::string list;
    for (std::size_t i = 0; i < std::min(texts.size(), kShown); ++i) {
        list += (i == 0 ? "" : ", ") + inQuotes(texts[i]);
    }
    if (texts.size() > kShown) list += " and " + std::to_string(texts.size() - kShown) + " more";
    return list;
}

// What the system's reason for not opening or reading a file means.
std::string whyNotReadable(const std::error_code& reason) {
    switch (reason.default_error_condition().value()) {
        case EACCES:
            return "Your user may not read the file, or not enter one of the folders on the way to "
                   "it.";
        case EPERM:
            return "The system keeps this program from the file, whatever its mode says. On macOS, "
                   "allow "
                   "the assistant's host, and the terminal for this check, in System Settings, "
                   "Privacy "
                   "& Security, Files and Folders (or Full Disk Access), and start it again.";
        case EDEADLK:
            return "The file is kept in the cloud and has not been downloaded to this computer. "
                   "Have "
                   "its folder kept downloaded, or open the file once.";
        case ENOTDIR:
            return "A part of the path is a file where a folder is needed.";
        case ELOOP:
            return "The path goes round in a circle of symbolic links.";
        case EISDIR:
            return "This is a folder. The data file is the data.json in it.";
        case EINVAL:
            return "This is no ordinary file.";
        case EFBIG:
            return "The file is larger than 2 GiB, which is more than the server reads.";
        default:
            return "The file cannot be read: " + reason.message() + ".";
    }
}

std::string whyNotWritable(const std::error_code& reason) {
    if (reason.value() == EACCES) return "Your user may not make files in the folder.";
    return "No file can be made in the folder: " + reason.message() + ".";
}

class Findings {
  public:
    std::vector<Finding> found;

    void addPath(const Place& place) {
        const std::string path = place.path.string();
        if (path.starts_with('~') || path.starts_with('$')) {
            warn("tilde", "The path is taken as it stands: " + path.substr(0, path.find('/')) +
                              " is not replaced. Write your home directory out.");
        } else if (!place.path.is_absolute()) {
            warn("relative",
                 "The path is not absolute. The server takes it from the folder in which "
                 "its host starts it, which may be any.");
        }
        constexpr std::string_view kStray = " \t\r\n\"'";
        if (kStray.find(path.front()) < kStray.size() || kStray.find(path.back()) < kStray.size()) {
            warn("stray-ends",
                 "The path begins or ends with a blank or a quotation mark, which is "
                 "taken as a part of it: " +
                     inQuotes(path) + ".");
        }
    }

    void addPreferences(const DataFileLocation& location) {
        if (!location.preferencesProblem) return;
        fail("preferences",
             *location.preferencesProblem +
                 ". The preferences may name another file: reports come from this one, and "
                 "recordings are refused.");
    }

    void addFile(const Place& place, const std::optional<JsonFault>& fault, bool holdsObject) {
        constexpr auto kZeros = " The reports see an empty file";
        if (place.notReadable == std::errc::no_such_file_or_directory) {
            addMissing(place, kZeros);
        } else if (place.notReadable) {
            const bool isTooLarge = place.notReadable == std::errc::file_too_large;
            fail("not-readable", whyNotReadable(place.notReadable) +
                                     (isTooLarge ? " Reports and" : std::string(kZeros) + ", and") +
                                     " recordings are refused.");
        } else if (fault) {
            fail("not-json", "The file is not JSON. Line " + std::to_string(fault->line) +
                                 ", column " + std::to_string(fault->column) + ": " +
                                 std::string(fault->reason) + "." + kZeros +
                                 ", and recordings are refused.");
        } else if (!holdsObject) {
            fail("not-object", "The file holds a list where an object, { ... }, is expected." +
                                   std::string(kZeros) + ", and recordings are refused.");
        }
    }

    void addSurroundings(const Place& place) {
        const bool isMissing = place.notReadable == std::errc::no_such_file_or_directory;
        if (place.notWritable && (isMissing || !place.notReadable)) {
            warn("not-writable",
                 whyNotWritable(place.notWritable) +
                     " A save puts a new file there, so recordings fail; reports work.");
        }
        if (!place.isOwn) {
            warn("other-owner",
                 "The file belongs to another user. A recording leaves that user the same access, "
                 "and is refused where the system does not allow it.");
        }
        if (!place.kept.empty()) {
            warn("kept",
                 "A save that was cut off has left files that may hold what the data file lacks: " +
                     some(place.kept) + ". Compare before you delete them.");
        }
        if (!place.unfinished.empty()) {
            warn("unfinished",
                 "A save that was cut off has left unfinished files: " + some(place.unfinished) +
                     ". The data file is whole; delete them.");
        }
    }

    void addLists(const Content& content) {
        bool hasAny = false;
        for (const List& list : content.lists) {
            hasAny = hasAny || list.value.exists();
            if (list.firstStray) {
                warn("stray-element", "Element " + std::to_string(*list.firstStray + 1) + " of \"" +
                                          std::string(list.name) +
                                          "\" is no object, so the whole list reads as empty.");
            } else if (list.value.exists() && !list.value.is(json::Kind::array)) {
                warn("no-list", inQuotes(list.name) + " is no list and reads as an empty one.");
            }
        }
        if (!hasAny) {
            warn("no-records",
                 "The file has neither accounts nor transactions, budgets or goals. Is it the "
                 "finance application's?");
        }
        if (!content.repeatedMembers.empty()) {
            warn("repeated-member", "The file has more than one " + some(content.repeatedMembers) +
                                        "; only the last one counts.");
        }
    }

    void addCurrencies(const Content& content) {
        if (!content.withoutRate.empty()) {
            warn("no-rate", "No exchange rate for " + some(content.withoutRate) +
                                ": amounts count one to one, as if they were in " +
                                inQuotes(content.baseCurrency) + ".");
        }
        if (!content.wrongRates.empty()) {
            warn("wrong-rate",
                 "The exchange rate of " + some(content.wrongRates) +
                     " is no number above 0: amounts count as 0 in totals, or unconverted.");
        }
        if (content.baseCurrency.empty()) {
            warn("no-base-currency", "The base currency is the empty text.");
        }
    }

    void addAccounts(const Content& content) {
        if (!content.sharedIDs.empty()) {
            warn("shared-id", "Several accounts have the id " + some(content.sharedIDs) +
                                  ": the same transactions count for each of them.");
        }
        if (!content.repeatedAccountNames.empty()) {
            warn("repeated-account", "Several accounts are called " +
                                         some(content.repeatedAccountNames) +
                                         ": what is recorded by that name goes to the first.");
        }
        if (!content.repeatedGoalNames.empty()) {
            warn("repeated-goal", "Several goals are called " + some(content.repeatedGoalNames) +
                                      ": money added by that name goes to the first.");
        }
    }

    void addTransactions(const Content& content) {
        Tally others;
        for (const auto& [type, count] : content.types) {
            if (type == "Income" || type == "Expense" || type == "Transfer") continue;
            if (others.count == 0) others.first = type;
            others.count += count;
        }
        tell(content.undated, "no-date", "Without a date that can be read", "date",
             "Left out of every month and period.");
        tell(others, "unknown-type", "Neither Income, Expense nor Transfer", "type",
             "Left out of balances and totals.");
        tell(content.withoutAmount, "no-amount", "With an amount that is no number", "payee",
             "Counted as 0.");
        tell(content.unusableSplits, "no-splits", "With splits that cannot be read", "payee",
             "Counted as a whole.");
        tell(content.withoutAccount, "no-account", "Naming no account", "",
             "Left out of all balances.");
        tell(content.unknownAccount, "unknown-account", "Naming an account that does not exist",
             "id", "Left out of its balance.");
    }

  private:
    void addMissing(const Place& place, const std::string& zeros) {
        if (place.isInCloud) {
            return fail("in-cloud", whyNotReadable({EDEADLK, std::generic_category()}) + zeros +
                                        "; a recording would make a second one, at odds with it.");
        }
        fail("missing", (place.missing == place.target
                             ? "There is no file of that name in its folder."
                             : "There is no such folder: " + place.missing.string() + ".") +
                            zeros + "; a recording would make a new one.");
    }

    void tell(const Tally& tally, std::string_view about, const std::string& what,
              std::string_view member, const std::string& effect) {
        if (tally.count == 0) return;
        std::string text = what + ": " + number(tally.count, "transaction");
        if (!member.empty()) {
            text += tally.count == 1 ? ", with the " : ", the first with the ";
            text += std::string(member) + " " + inQuotes(tally.first);
        }
        warn(about, text + ". " + effect);
    }

    void warn(std::string_view about, std::string text) {
        found.push_back({Level::warning, about, std::move(text)});
    }
    void fail(std::string_view about, std::string text) {
        found.push_back({Level::error, about, std::move(text)});
    }
};

}  // namespace

std::vector<Finding> findingsOf(const DataFileLocation& location, const Place& place,
                                const std::optional<JsonFault>& fault,
                                const std::optional<Content>& content) {
    Findings findings;
    findings.addPreferences(location);
    findings.addFile(place, fault, content.has_value());
    findings.addPath(place);
    findings.addSurroundings(place);
    if (content) {
        findings.addLists(*content);
        findings.addCurrencies(*content);
        findings.addAccounts(*content);
        findings.addTransactions(*content);
    }
    return std::move(findings.found);
}

}  // namespace tovra::check
