// The reports against their definitions, on documents full of oddities.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "support/slow_reports.h"
#include "support/test_environment.h"
#include "tools/tools.h"

namespace tovra {
namespace {

// Texts by the rules of golden/generated.txt.
class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {
        std::ifstream file(TOVRA_TESTS "/tools/golden/generated.txt");
        for (std::string line, rule; std::getline(file, line);) {
            std::istringstream words(line);
            words >> rule;
            rules_[rule].assign(std::istream_iterator<std::string>(words), {});
        }
    }

    std::string text(const std::string& rule) {
        const std::vector<std::string>& alternatives = rules_.at(rule);
        std::istringstream rest(alternatives[below(alternatives.size())]);
        std::string text;
        for (std::string plain, slot; std::getline(rest, plain, '<');) {
            for (const char c : plain) text += c == '#' ? static_cast<char>('0' + below(10)) : c;
            if (std::getline(rest, slot, '>')) fill(slot, text);
        }
        return text;
    }

  private:
    unsigned below(std::size_t end) { return static_cast<unsigned>(random_() % end); }

    void fill(const std::string& slot, std::string& text) {
        const std::size_t sign = slot.find_first_of(":*");
        const std::string name = sign < slot.size() ? slot.substr(sign + 1) : "1";
        const bool isMember = slot.find(':') < slot.size();
        const unsigned dice = below(12);
        int times = dice < 2 ? static_cast<int>(2 * dice) : 1;
        if (!isMember) times = std::stoi(name);
        for (; times > 0; --times) {
            const bool isFirst = text.empty() || std::string_view("[{:").find(text.back()) < 3;
            if (!isFirst) text += ',';
            if (isMember) text += "\"" + name + "\":";
            text += this->text(slot.substr(0, sign));
        }
    }

    std::map<std::string, std::vector<std::string>> rules_;
    std::mt19937 random_;
};

TEST(Reports, MatchTheirDefinitionsOnGeneratedDocuments) {
    constexpr Instant kNow = 1794841200.5;  // 2026-11-16T15:00:00.5Z
    for (unsigned seed = 1; seed <= 5; ++seed) {
        const support::DataFileScope file(Generator(seed).text(seed < 5 ? "document" : "undated"));
        const json::Document data = json::parse(support::fileBytes(file.path())).value();
        for (const char* zone : {"UTC", "America/Sao_Paulo", "Pacific/Auckland"}) {
            SCOPED_TRACE(zone + (", seed " + std::to_string(seed)));
            const support::EnvironmentScope scope("TZ", zone);
            const support::Definitions definitions(data.root(), kNow);
            EXPECT_EQ(toolOverview(kNow), definitions.overview());
            EXPECT_EQ(toolListBudgets(kNow), definitions.budgets());
            for (const char* text :
                 {R"({"limit":500})", R"({"limit":3})", R"({"days":40,"search":"F"})"}) {
                const json::Document asked = json::parse(text).value();
                EXPECT_EQ(toolSpendingByCategory(asked.root(), kNow),
                          definitions.spending(asked.root()));
                EXPECT_EQ(toolListTransactions(asked.root(), kNow),
                          definitions.listing(asked.root()));
            }
        }
    }
}

}  // namespace
}  // namespace tovra
