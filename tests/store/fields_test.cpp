#include "store/fields.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tovra {
namespace {

TEST(Fields, ReadOneTypeAndElseTheDefault) {
    struct Case {
        const char* member;
        const char* string = "";
        double number = 0;
        std::optional<bool> boolean = {};
        std::size_t members = 0, elements = 0;
        std::optional<std::int64_t> wholeNumber = {};
    };
    const Case cases[] = {
        {R"("X":7)"},
        {R"("x":"12.50")", "12.50"},
        {R"("x":12.9)", "", 12.9, {}, 0, 0, 12},
        {R"("x":0.99)", "", 0.99},
        {R"("x":-1.5)", "", -1.5},
        {R"("x":true)", "", 1, true, 0, 0, 1},
        {R"("x":false)", "", 0, false},
        {R"("x":{"a":1,"b":2})", "", 0, {}, 2},
        {R"("x":1,"x":[{},{"a":1}])", "", 0, {}, 0, 2},
        {R"("x":[{},1])"},
        {R"("x":["a",{}])"},
        {R"("x":[{},[]])"},
        {R"("x":[null])"},
        {R"("x":9223372036854774784)", "", 9223372036854774784.0, {}, 0, 0, 9223372036854774784},
        {R"("x":9223372036854775807)", "", 9223372036854775808.0},
        {R"("x":-1e300)", "", -1e300},
        {R"("x":1e999)", "", HUGE_VAL}};
    for (const Case& it : cases) {
        const auto document = json::parse("{" + std::string(it.member) + "}");
        const json::Value object = document->root();
        EXPECT_EQ(stringField(object, "x"), it.string) << it.member;
        EXPECT_EQ(numberField(object, "x"), it.number) << it.member;
        EXPECT_EQ(boolField(object, "x"), it.boolean) << it.member;
        EXPECT_EQ(objectField(object, "x").children().size(), it.members) << it.member;
        EXPECT_EQ(objectArrayField(object, "x").size(), it.elements) << it.member;
        EXPECT_EQ(positiveWholeNumberField(object, "x"), it.wholeNumber) << it.member;
    }
}

}  // namespace
}  // namespace tovra
