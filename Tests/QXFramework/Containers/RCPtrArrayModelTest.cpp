// RCPtrArrayModelTest.cpp - random operations through both views beside a standard vector.

#include "RCPtrArrayModel.h"

#include <gtest/gtest.h>

#include <random>

namespace QX {
namespace {

template <uint32 Grow, uint32 Init>
void ExpectAgreement()
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        std::vector<unsigned char> bytes(3000);
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            // Most arguments lie inside of the array or close to its end.
            const bool isAny = index % 3 == 0 || random() % 8 == 0;
            bytes[index] = static_cast<unsigned char>(isAny ? random() : random() % 24);
        }

        ASSERT_EQ((RCPtrArrayModel<Grow, Init>().Run(bytes)), "");
    }
    EXPECT_EQ(TestSupport::Witness::GetLiveCount(), 0);
}

TEST(RCPtrArrayModel, EverySizeBehavesAsAVector)
{
    ExpectAgreement<1, 0>();
    ExpectAgreement<3, 2>();
    ExpectAgreement<256, 256>();
}

} // namespace
} // namespace QX
