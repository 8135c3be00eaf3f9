// StringModelTest.cpp - random sequences of edits beside std::string.

#include "StringModel.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace QX {
namespace {

TEST(StringModel, RandomEditsAgreeWithStandardStrings)
{
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        std::vector<unsigned char> bytes(1500);
        std::generate(bytes.begin(), bytes.end(),
                      [&random] { return static_cast<unsigned char>(random()); });

        ASSERT_EQ(StringModel(bytes).Run(), "");
    }
}

} // namespace
} // namespace QX
