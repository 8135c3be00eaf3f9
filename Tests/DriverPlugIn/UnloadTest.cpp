// UnloadTest.cpp - what the bundle leaves in a host that is not linked with the platform.

#include "DriverPlugIn/Support/Heap.h"
#include "DriverPlugIn/Support/LoadedBundle.h"
#include "Protocol/ServerProtocol.h"
#include "Support/BuildKind.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

void UseWithoutAServer()
{
    const LoadedBundle bundle(QX_BUNDLE_PATH);
    EXPECT_EQ(bundle.Open(258), 0);
    EXPECT_EQ(bundle.SetInteger(258, kDirectMonitorEnableProperty, 1), -3);
    EXPECT_EQ(bundle.Close(258), 0);
}

// The address sanitizer never frees its entry for a static object whose destructor was registered.
#if QX_HAS_ADDRESS_SANITIZER
constexpr std::size_t kBytesOfARound = 2000;
#else
constexpr std::size_t kBytesOfARound = 4;
#endif

TEST(Unload, LeavesNothingBehindInAHostThatIsNotLinkedWithThePlatform)
{
    constexpr std::size_t kRounds = 500;
    for (int round = 0; round < 50; ++round) {
        UseWithoutAServer();
    }
    const std::size_t heapBytes = CountHeapBytes();

    for (std::size_t round = 0; round < kRounds; ++round) {
        UseWithoutAServer();
    }

    EXPECT_LE(CountHeapBytes(), heapBytes + kRounds * kBytesOfARound);
    EXPECT_EQ(dlopen(QX_BUNDLE_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace
