#include "store/currencies.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

#include "store/money.h"

namespace tovra {
namespace {

TEST(Money, IsPrintedWithTwoDecimalsOfTheExactDouble) {
    for (const std::string row :
         {"0 0.00", "-0.0 -0.00", "1234.5 1234.50", "-3 -3.00", "0.005 0.01", "-0.004 -0.00",
          "2.675 2.67", "1.005 1.00", "8.345 8.35", "0.125 0.12", "0.375 0.38", "-0.125 -0.12",
          "1000000000000000.125 1000000000000000.12", "1e23 99999999999999991611392.00"}) {
        EXPECT_EQ(moneyText(std::atof(row.c_str())), row.substr(row.find(' ') + 1)) << row;
    }
    const std::string largest = moneyText(std::numeric_limits<double>::max());
    EXPECT_EQ(largest.size(), 312U);
    EXPECT_TRUE(largest.starts_with("17976931348623157081452742373")) << largest;
    EXPECT_EQ(moneyText("USD", 1250), "USD 1250.00");
    EXPECT_EQ(moneyText("", -12), " -12.00");
}

TEST(Currencies, ConvertThroughTheBaseCurrency) {
    const auto document = json::parse(R"({"fxRates":{"EUR":9,"GBP":1.25,"XXX":"1.08","ONE":true,
        "USD":5,"NUL":null,"EUR":1.1}})");
    const Currencies currencies(document->root());
    struct Case {
        double amount;
        const char *from, *to;
        double converted;
    };
    const Case cases[] = {{100, "EUR", "USD", 110.00000000000001},
                          {100, "JPY", "USD", 100},
                          {100, "usd", "USD", 100},
                          {100, "NUL", "USD", 0},
                          {110, "USD", "EUR", 99.99999999999999},
                          {100, "GBP", "EUR", 113.63636363636363},
                          {100, "EUR", "XXX", 100},
                          {100, "XXX", "EUR", 0},
                          {100, "XXX", "XXX", 100},
                          {100, "", "GBP", 80}};
    for (const auto& [amount, from, to, converted] : cases) {
        EXPECT_EQ(currencies.convert(amount, from, to), converted) << from << " to " << to;
        if (to != currencies.base()) continue;
        EXPECT_EQ(currencies.convertToBase(amount, from), converted) << from;
    }
    const auto euro = json::parse(R"({"settings":{"baseCurrency":"EUR"},"fxRates":{"EUR":1.1}})");
    EXPECT_EQ(Currencies(euro->root()).convertToBase(100, "EUR"), 100);
}

TEST(Currencies, TakeTheBaseCurrencyFromTheSettings) {
    const auto base = [](const char* text) {
        return std::string(baseCurrency(json::parse(text)->root()));
    };
    EXPECT_EQ(base("{}"), "USD");
    EXPECT_EQ(base(R"({"settings":[{"baseCurrency":"EUR"}]})"), "USD");
    EXPECT_EQ(base(R"({"settings":{"baseCurrency":7}})"), "USD");
    EXPECT_EQ(base(R"({"settings":{"baseCurrency":""}})"), "");
}

}  // namespace
}  // namespace tovra
