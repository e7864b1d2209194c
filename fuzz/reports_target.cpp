// The data file: whatever its bytes are, every report is text that says what its definition says,
// and a recording leaves either the same bytes or a file that is good. The arguments of the calls
// are the member "arguments" of the file's object, and its member "now" is the present.
#include <algorithm>
#include <array>

#include "files/json_file.h"
#include "fuzz/support.h"
#include "store/recording.h"
#include "support/slow_reports.h"
#include "tools/tools.h"

namespace {

namespace json = tovra::json;
using tovra::Instant;

constexpr Instant kNow = 1791200000;  // in October 2026

const tovra::fuzz::FuzzedFile& file() {
    static const tovra::fuzz::FuzzedFile file("{}");
    return file;
}

std::array<std::string, 5> reports(json::Value arguments, Instant now) {
    return {tovra::toolOverview(now), tovra::toolListTransactions(arguments, now),
            tovra::toolSpendingByCategory(arguments, now), tovra::toolListBudgets(now),
            tovra::toolListGoals()};
}

void checkSaysAsDefined(const std::array<std::string, 5>& texts, json::Value data, Instant now) {
    const json::Value arguments = data.member("arguments");
    const tovra::support::Definitions definitions(data, now);
    const std::array<std::string, 4> defined = {
        definitions.overview(), definitions.listing(arguments), definitions.spending(arguments),
        definitions.budgets()};
    for (std::size_t i = 0; i < defined.size(); ++i) {
        const auto signless = [](std::string_view text) {
            return tovra::support::replaced(text, "-nan", "nan");
        };
        tovra::fuzz::require(signless(texts[i]) == signless(defined[i]),
                             texts[i] + "\nis what the definition says:\n" + defined[i]);
    }
}

template <class Tool>
void record(const Tool& tool) {
    const std::string before = file().bytes();
    try {
        (void)tool();
    } catch (const tovra::RecordingError&) {  // it may refuse
    }
    file().checkKept(before);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = tovra::fuzz::textOf(data, size);
    file().write(bytes);
    const auto document = json::parse(tovra::withoutByteOrderMark(bytes));
    json::Value whole = document ? document->root() : json::Value();
    if (!whole.is(json::Kind::object)) whole = {};
    const json::Value arguments = whole.member("arguments");
    const Instant latest = 253370000000;  // far enough from the ends of the calendar
    const double asked = whole.member("now").number().value_or(kNow);
    const Instant now = std::clamp(asked, -62100000000.0, latest);

    const auto texts = reports(arguments, now);
    for (const std::string& text : texts) {
        std::string quoted = "[";
        json::appendString(quoted, text);
        (void)tovra::fuzz::parsed(quoted + "]", "a report as a string");
    }
    checkSaysAsDefined(texts, whole, now);
    // A recording reads an unusable file again and again for a while: too slow to try here.
    if (!whole.exists()) return 0;

    std::string compact;
    json::appendCompact(compact, whole);
    file().write(compact);
    tovra::fuzz::require(reports(arguments, now) == texts, "only the values count");
    record([&] { return tovra::toolAddTransaction(arguments, now); });
    record([&] { return tovra::toolAddToGoal(arguments); });
    return 0;
}
