#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "json/spare.h"

namespace tovra::json {
namespace {

// A text of that many bytes, or a few more.
std::string textOf(std::size_t size) { return "[\"" + std::string(size, 'x') + "\"]"; }

Document parsed(std::size_t size) { return std::move(*parse(textOf(size))); }

const char* placeOf(const Document& document) {
    return document.root().children()[0].string()->data();
}

TEST(Spare, IsTheMemoryOfTheLastLargeDocument) {
    const char* place = placeOf(parsed(kSmallestSpare));
    EXPECT_NE(placeOf(parsed(kSmallestSpare / 3)), place) << "a small one leaves it alone";
    const Document first = parsed(2 * kSmallestSpare / 3 * 2);
    const Document second = parsed(kSmallestSpare);
    EXPECT_NE(placeOf(first), placeOf(second)) << "two at once have one each";
}

TEST(Spare, HoldsNoMoreThanItSays) {
    for (const std::size_t size : {kMostSpare / 2, kMostSpare * 2}) {
        std::ignore = parsed(size);
        const DocumentArrays kept = takeSpare(kSmallestSpare);
        EXPECT_EQ(kept.bytes.size() > size, size < kMostSpare) << size;
        EXPECT_LE(kept.bytes.resident(), kMostSpare);
        EXPECT_EQ(takeSpare(kSmallestSpare).bytes.capacity(), 0U) << "it is taken once";
    }
    std::ignore = parsed(kSmallestSpare / 3);
    EXPECT_EQ(takeSpare(kSmallestSpare).bytes.capacity(), 0U) << "a small one is not kept";
}

}  // namespace
}  // namespace tovra::json
