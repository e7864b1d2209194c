#include "store/money.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

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
    EXPECT_EQ(moneyText("", -12), " -12.00");
}

}  // namespace
}  // namespace tovra
