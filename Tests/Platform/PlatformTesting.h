// PlatformTesting.h - what the tests of the platform share: objects from C++ values and back, and a
// fixture that checks the number of live objects.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Standin/LiveObjects.h>
#include <Standin/Standin.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace Platform {

inline CFDataRef MakeData(std::string_view bytes)
{
    return CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                        static_cast<CFIndex>(bytes.size()));
}

inline CFStringRef MakeString(const char* text)
{
    return CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s"), text);
}

inline std::string BytesOf(CFDataRef data)
{
    return {reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
            static_cast<std::size_t>(CFDataGetLength(data))};
}

inline std::string TextOf(CFStringRef string)
{
    char buffer[512] = "";
    EXPECT_TRUE(CFStringGetCString(string, buffer, sizeof buffer, kCFStringEncodingUTF8));
    return buffer;
}

/// A port name that no other process uses.
inline std::string UniqueName(const char* purpose)
{
    return std::string("org.qxaudio.test.") + purpose + "." + std::to_string(getpid());
}

/// Calls `step` again and again on a thread while this process forks 100 times, and once in each
/// child. Returns how many children ended well: a child that finds a lock of the thread hangs.
template <class Step>
int CountChildrenThatAreFree(Step step)
{
    std::atomic<bool> isOver{false};
    std::thread other([&] {
        while (!isOver) {
            step();
        }
    });
    int ended = 0;
    for (int round = 0; round < 100; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(5);
            step();
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        ended += status == 0 ? 1 : 0;
    }
    isOver = true;
    other.join();
    return ended;
}

/// A value for a container that does not look at what it points to.
inline const void* Pointer(std::size_t number)
{
    return reinterpret_cast<const void*>(number);
}

/// Fails a test if the number of live objects is not the same after it as before.
class LedgerTest : public testing::Test
{
protected:
    ~LedgerTest() override { EXPECT_EQ(StandinGetTotalLiveObjectCount(), mLiveAtStart); }

private:
    const SInt32 mLiveAtStart = StandinGetTotalLiveObjectCount();
};

} // namespace Platform
