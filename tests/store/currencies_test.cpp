#include "store/currencies.h"

#include <gtest/gtest.h>

namespace tovra {
namespace {

TEST(Currencies, ConvertThroughTheBaseCurrency) {
    const auto document = json::parse(R"({"fxRates":{"EUR":9,"GBP":1.25,"XXX":"1.08","ONE":true,
        "USD":5,"NUL":null,"EUR":1.1}})");
    const Currencies currencies(document->root());
    EXPECT_EQ(currencies.convertToBase(100, "EUR"), 110.00000000000001);
    EXPECT_EQ(currencies.convertToBase(100, "USD"), 100);
    EXPECT_EQ(currencies.convertToBase(100, "JPY"), 100);
    EXPECT_EQ(currencies.convertToBase(100, "XXX"), 0);
    EXPECT_EQ(currencies.convertToBase(100, "NUL"), 0);
    EXPECT_EQ(currencies.convertToBase(100, "ONE"), 100);
    EXPECT_EQ(currencies.convert(110, "USD", "EUR"), 99.99999999999999);
    EXPECT_EQ(currencies.convert(100, "GBP", "EUR"), 113.63636363636363);
    EXPECT_EQ(currencies.convert(100, "EUR", "XXX"), 100);
    EXPECT_EQ(currencies.convert(100, "XXX", "EUR"), 0);
    EXPECT_EQ(currencies.convert(100, "XXX", "XXX"), 100);
    const auto euro = json::parse(R"({"settings":{"baseCurrency":"EUR"},"fxRates":{"EUR":1.1}})");
    EXPECT_EQ(Currencies(euro->root()).convertToBase(100, "EUR"), 100);
}

}  // namespace
}  // namespace tovra
