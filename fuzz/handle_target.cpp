// Messages: whatever a message holds, its response is one line of JSON with its id, and a message
// has one exactly where it names a method and an id. The data file stays what a file should be.
#include "fuzz/support.h"
#include "server/handle.h"

namespace {

namespace json = tovra::json;
using tovra::fuzz::require;

constexpr std::string_view kData = R"({"settings":{"baseCurrency":"USD"},"fxRates":{"EUR":1.25},
"accounts":[{"id":"A","name":"Checking","currency":"USD","openingBalance":100},
{"id":"B","name":"Wallet","currency":"EUR","includeInNetWorth":false}],
"budgets":[{"category":"Food","monthlyLimit":300},
{"category":"Food","subcategory":"Out","monthlyLimit":50}],
"goals":[{"name":"Bike","saved":25.5,"target":400,"currency":"EUR"}],"unknown":[1e2,"é",{"":0}],
"transactions":[{"date":"2026-10-05T12:00:00Z","type":"Expense","amount":12.5,"currency":"EUR",
"payee":"Bakery","category":"Food","subcategory":"Out","accountID":"B"},
{"date":"2026-10-01","type":"Transfer","amount":20,"accountID":"A","transferAccountID":"B"},
{"date":"","type":"Income","amount":1000,"currency":"USD","payee":"Work","accountID":"A"}]})";

void checkResponse(json::Value message, const std::optional<std::string>& response) {
    const bool isAnswered = message.member("method").string() && message.member("id").exists();
    require(response.has_value() == isAnswered, "a request has a response, nothing else has");
    if (!response) return;
    require(response->find('\n') == std::string::npos, "a response is one line");
    const auto document = tovra::fuzz::parsed(*response, "the response");
    const json::Value root = document.root();
    require(root.member("jsonrpc").string() == "2.0", "a response names the protocol");
    require(tovra::fuzz::same(root.member("id"), message.member("id")), "a response has the id");
    require(root.member("result").is(json::Kind::object) != root.member("error").exists() &&
                root.children().size() == 3,
            "a response is a result or an error");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tovra::fuzz::FuzzedFile file(kData);
    const auto message = json::parse(tovra::fuzz::textOf(data, size));
    if (!message || !message->root().is(json::Kind::object)) return 0;
    checkResponse(message->root(), tovra::handle(message->root(), true));
    require(file.bytes() == kData, "nothing is changed in read-only mode");
    checkResponse(message->root(), tovra::handle(message->root(), false));
    file.checkKept(kData);
    if (file.bytes() != kData) file.write(kData);
    return 0;
}
