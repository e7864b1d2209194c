// The functions in which a call spends its time, each alone. Times are for one run of the loop;
// where a text is worked through, its bytes per second stand beside them.
#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <string>
#include <string_view>

#include "json/json.h"
#include "json/write.h"
#include "platform/unicode.h"
#include "samples/sample_data.h"
#include "store/dates.h"
#include "store/money.h"

namespace {

using namespace std::string_view_literals;
namespace json = tovra::json;

std::string textOf(std::int64_t transactions) {
    tovra::support::SampleOptions options;
    options.transactions = static_cast<std::size_t>(transactions);
    options.today = tovra::support::today();
    return tovra::support::sampleData(options);
}

void countBytes(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

void parseIntoNewMemory(benchmark::State& state) {
    const std::string text = textOf(state.range(0));
    for ([[maybe_unused]] const auto _ : state) benchmark::DoNotOptimize(json::parse(text));
    countBytes(state, text.size());
}

void parseByLibraryIntoKeptMemory(benchmark::State& state) {
    const simdjson::padded_string text(textOf(state.range(0)));
    simdjson::dom::parser parser;
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(parser.parse(text).error());
    }
    countBytes(state, text.size());
}

void writeDocument(benchmark::State& state) {
    const auto document = json::parse(textOf(state.range(0)));
    const json::Edit edit{document->root().member("transactions"), {}, "{}"};
    std::size_t size = 0;
    for ([[maybe_unused]] const auto _ : state) {
        json::writePretty(*document, edit, [&](std::string_view piece) { size += piece.size(); });
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(size));
}

void writeString(benchmark::State& state, std::string_view text) {
    std::string out;
    for ([[maybe_unused]] const auto _ : state) {
        out.clear();
        json::appendString(out, text);
        benchmark::DoNotOptimize(out.data());
    }
    countBytes(state, text.size());
}

void parseDate(benchmark::State& state, std::string_view text) {
    tovra::DayFormatter dayFormatter;
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(tovra::parseDate(text, dayFormatter));
    }
}

void search(benchmark::State& state, std::string_view text) {
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(tovra::searchFinds(text, "coffee"));
    }
}

void printMoney(benchmark::State& state) {
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(tovra::moneyText("USD", 1234567.895));
    }
}

BENCHMARK(parseIntoNewMemory)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(parseByLibraryIntoKeptMemory)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(writeDocument)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(writeString, plain, "Corner Market, weekly shop, paid by card"sv);
BENCHMARK_CAPTURE(writeString, escapes, "The \"Old Mill\" Tavern\nand a \\ line"sv);
BENCHMARK_CAPTURE(parseDate, dateTime, "2026-11-16T19:00:34Z"sv);
BENCHMARK_CAPTURE(parseDate, day, "2026-11-16"sv);
BENCHMARK_CAPTURE(search, plain, "Corner Market"sv);
BENCHMARK_CAPTURE(search, beyondAscii, "Bäckerei Öztürk"sv);
BENCHMARK(printMoney);

}  // namespace

BENCHMARK_MAIN();
