// UnloadTest.cpp - the bundle in a host that is not linked with the platform: what it leaves
// behind.

#include "DriverPlugIn/Support/Heap.h"
#include "Protocol/ServerProtocol.h"
#include "Support/BuildKind.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

/// Loads the bundle, sets a property without a server, and unloads it.
void UseOnce()
{
    void* const bundle = dlopen(QX_BUNDLE_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(bundle, nullptr) << dlerror();
    const auto open =
        reinterpret_cast<decltype(&AudioDriverPlugInOpen)>(dlsym(bundle, "AudioDriverPlugInOpen"));
    const auto close = reinterpret_cast<decltype(&AudioDriverPlugInClose)>(
        dlsym(bundle, "AudioDriverPlugInClose"));
    const auto set = reinterpret_cast<decltype(&AudioDriverPlugInDeviceSetProperty)>(
        dlsym(bundle, "AudioDriverPlugInDeviceSetProperty"));
    AudioDriverPlugInHostInfo hostInfo = {258, 0, 0, nullptr, nullptr};
    const UInt32 on = 1;
    EXPECT_EQ(open(&hostInfo), 0);
    EXPECT_EQ(set(258, nullptr, 0, 1, kDirectMonitorEnableProperty, sizeof(on), &on), -3);
    EXPECT_EQ(close(258), 0);
    EXPECT_EQ(dlclose(bundle), 0);
}

// The address sanitizer keeps an entry for ever for each static object whose destructor it has
// seen registered.
#if QX_HAS_ADDRESS_SANITIZER
constexpr std::size_t kBytesOfARound = 2000;
#else
constexpr std::size_t kBytesOfARound = 4;
#endif

TEST(Unload, LeavesNothingBehindInAHostThatIsNotLinkedWithThePlatform)
{
    constexpr std::size_t kRounds = 500;
    for (int round = 0; round < 50; ++round) {
        UseOnce();
    }
    const std::size_t heapBytes = CountHeapBytes();

    for (std::size_t round = 0; round < kRounds; ++round) {
        UseOnce();
    }

    EXPECT_LE(CountHeapBytes(), heapBytes + kRounds * kBytesOfARound);
    EXPECT_EQ(dlopen(QX_BUNDLE_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace
