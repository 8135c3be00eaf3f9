// RunLoopTest.cpp - the modes of run loops, and how their runs end.

#include "Platform/PlatformTesting.h"

#include <chrono>
#include <csignal>
#include <future>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

CFDataRef CountMessage(CFMessagePortRef, SInt32, CFDataRef, void* info)
{
    ++*static_cast<int*>(info);
    return nullptr;
}

/// A local port whose source is in the calling thread's loop.
class RunLoop : public Platform::LedgerTest
{
protected:
    RunLoop()
        : mName(Platform::MakeString(Platform::UniqueName("loop").c_str()))
    {
        CFMessagePortContext context = {0, &mMessages, nullptr, nullptr, nullptr};
        mPort = CFMessagePortCreateLocal(nullptr, mName, &CountMessage, &context, nullptr);
        mSource = CFMessagePortCreateRunLoopSource(nullptr, mPort, 0);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), mSource, kCFRunLoopDefaultMode);
    }
    ~RunLoop() override
    {
        CFMessagePortInvalidate(mPort);
        CFRelease(mSource);
        CFRelease(mPort);
        CFRelease(mName);
    }

    void Send(int messages)
    {
        CFMessagePortRef remote = CFMessagePortCreateRemote(nullptr, mName);
        for (int index = 0; index < messages; ++index) {
            EXPECT_EQ(CFMessagePortSendRequest(remote, 1, nullptr, 1.0, 0.0, nullptr, nullptr), 0);
        }
        CFRelease(remote);
    }

    CFStringRef mName;
    CFMessagePortRef mPort = nullptr;
    CFRunLoopSourceRef mSource = nullptr;
    int mMessages = 0;
};

TEST_F(RunLoop, IsOneForEachThread)
{
    CFRunLoopRef mine = CFRunLoopGetCurrent();

    EXPECT_EQ(CFRunLoopGetCurrent(), mine);
    std::async(std::launch::async, [mine] { EXPECT_NE(CFRunLoopGetCurrent(), mine); }).get();
}

TEST_F(RunLoop, FinishesAtOnceWithNothingToWaitFor)
{
    EXPECT_EQ(CFRunLoopRunInMode(CFSTR("another mode"), 1000.0, false), kCFRunLoopRunFinished);
    CFMessagePortInvalidate(mPort);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1000.0, false), kCFRunLoopRunFinished);
}

TEST_F(RunLoop, TimesOut)
{
    const auto start = Clock::now();

    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, false), kCFRunLoopRunTimedOut);

    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(20));
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.0, false), kCFRunLoopRunTimedOut);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, -5.0, true), kCFRunLoopRunTimedOut);
}

TEST_F(RunLoop, ReturnsAfterOneHandledSourceIfAsked)
{
    Send(2);

    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(mMessages, 1);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(mMessages, 2);
}

TEST_F(RunLoop, HandlesSourcesUntilItsTimeIsOver)
{
    Send(3);

    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.05, false), kCFRunLoopRunTimedOut);

    EXPECT_EQ(mMessages, 3);
}

TEST_F(RunLoop, StopsFromAnotherThread)
{
    CFRunLoopRef loop = CFRunLoopGetCurrent();
    std::thread other([loop] { CFRunLoopStop(loop); });

    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1000.0, false), kCFRunLoopRunStopped);

    other.join();
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.0, false), kCFRunLoopRunTimedOut);
}

CFRunLoopRef gStoppedLoop = nullptr;

TEST_F(RunLoop, StopsFromASignalHandler)
{
    gStoppedLoop = CFRunLoopGetCurrent();
    struct sigaction action = {};
    action.sa_handler = [](int) { CFRunLoopStop(gStoppedLoop); };
    struct sigaction before = {};
    sigaction(SIGUSR1, &action, &before);
    const pthread_t self = pthread_self();
    std::thread other([self] { pthread_kill(self, SIGUSR1); });

    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1000.0, false), kCFRunLoopRunStopped);

    other.join();
    sigaction(SIGUSR1, &before, nullptr);
}

CFDataRef StopAfterNestedRun(CFMessagePortRef, SInt32, CFDataRef, void* info)
{
    auto& depth = *static_cast<int*>(info);
    if (++depth < 3) {
        EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true),
                  kCFRunLoopRunHandledSource);
    } else {
        // Only the innermost run is stopped.
        CFRunLoopStop(CFRunLoopGetCurrent());
    }
    return nullptr;
}

TEST_F(RunLoop, Nests)
{
    CFStringRef name = Platform::MakeString(Platform::UniqueName("nested").c_str());
    int depth = 0;
    CFMessagePortContext context = {0, &depth, nullptr, nullptr, nullptr};
    CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, name, &StopAfterNestedRun, &context, nullptr);
    CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, port, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    CFMessagePortRef remote = CFMessagePortCreateRemote(nullptr, name);
    for (int index = 0; index < 3; ++index) {
        CFMessagePortSendRequest(remote, 1, nullptr, 1.0, 0.0, nullptr, nullptr);
    }

    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true), kCFRunLoopRunHandledSource);

    EXPECT_EQ(depth, 3);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.0, true), kCFRunLoopRunStopped);
    CFMessagePortInvalidate(port);
    for (CFTypeRef object :
         {CFTypeRef(remote), CFTypeRef(source), CFTypeRef(port), CFTypeRef(name)}) {
        CFRelease(object);
    }
}

TEST_F(RunLoop, ALoopGoesWithItsThread)
{
    const SInt32 before = StandinGetLiveObjectCount(CFGetTypeID(CFRunLoopGetCurrent()));

    std::thread([] { CFRunLoopGetCurrent(); }).join();

    EXPECT_EQ(StandinGetLiveObjectCount(CFGetTypeID(CFRunLoopGetCurrent())), before);
}

} // namespace
