// HeapFailureTest.cpp - every entry point while the heap refuses one call after the other.
//
// The platform's objects are part of this program too, so that their memory is refused as well.
// Each refusal happens in a child process of its own, which then shows that the plug-in still
// works.

#include "DriverPlugIn/Support/ServerProcess.h"
#include "Protocol/ServerProtocol.h"
#include "Support/FailingHeap.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <gtest/gtest.h>

#include <Standin/LiveObjects.h>

#include <new>

#include <sys/wait.h>
#include <unistd.h>

// The platform's objects are here and in the library that the program is linked with. The address
// sanitizer takes that for a mistake.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "detect_odr_violation=0";
}

namespace {

using TestSupport::FailingHeap;

/// What an entry point may do without memory.
enum Outcome : int
{
    kDone = 0,           ///< nothing was refused; the call answered as always
    kAnswered = 1,       ///< a status of the link or the registry
    kThrew = 2,          ///< std::bad_alloc has left the entry point
    kWrongStatus = 10,   ///< a status that it must not have
    kLostObjects = 11,   ///< objects are left that should not be
    kDoesNotGoOn = 12,   ///< the next call does not answer as always
    kWrongWhenDone = 13, ///< nothing was refused, and the call answered otherwise
    kCannotBegin = 14,
};

constexpr OSStatus kUnspecified = 0x77686174;
constexpr OSStatus kUnsupported = 0x756E6F70;
constexpr OSStatus kUnknown = 0x77686F3F;
constexpr OSStatus kThrown = 1;

OSStatus SetInteger(UInt32 property, UInt32 value)
{
    return AudioDriverPlugInDeviceSetProperty(258, nullptr, 0, 1, property, 4, &value);
}

OSStatus OpenDevice(AudioDeviceID device)
{
    AudioDriverPlugInHostInfo hostInfo = {device, 0, 0, nullptr, nullptr};
    return AudioDriverPlugInOpen(&hostInfo);
}

/// Makes the calls that need no memory, and returns 0 if each answers as always.
OSStatus UseNoMemory()
{
    constexpr UInt32 kState = kDirectMonitorStateProperty;
    UInt32 size = 4;
    UInt32 data = 0;
    Boolean isWritable = 0;
    const bool isRight =
        AudioDriverPlugInDeviceGetPropertyInfo(258, 0, 1, kState, &size, &isWritable) == 0 &&
        AudioDriverPlugInDeviceGetProperty(258, 0, 1, kState, &size, &data) == kUnsupported &&
        AudioDriverPlugInStreamGetPropertyInfo(258, 0, 0, kState, &size, &isWritable) == kUnknown &&
        AudioDriverPlugInStreamGetProperty(258, 0, 0, kState, &size, &data) == kUnknown &&
        AudioDriverPlugInStreamSetProperty(258, 0, nullptr, 0, kState, 4, &data) == kUnknown;
    return isRight ? 0 : kUnspecified;
}

struct Operation
{
    const char* what;
    OSStatus (*call)();
    OSStatus usual;
    /// The port is there when the call comes.
    bool isConnected;
    /// The heap calls that the operation makes at least; fewer would mean that none was refused.
    int leastCalls;
    /// The first of them is for the value itself.
    bool isValueOnHeap = false;
};

constexpr Operation kOperations[] = {
    {"open a second device", [] { return OpenDevice(7); }, 0, false, 1},
    {"close", [] { return AudioDriverPlugInClose(258); }, 0, false, 0},
    {"calls that send nothing", UseNoMemory, 0, false, 0},
    {"enable, with the port still to be made",
     [] { return SetInteger(kDirectMonitorEnableProperty, 1); }, 0, false, 12},
    {"enable", [] { return SetInteger(kDirectMonitorEnableProperty, 1); }, 0, true, 7},
    {"state 1", [] { return SetInteger(kDirectMonitorStateProperty, 1); }, 0, true, 10},
    {"state 0", [] { return SetInteger(kDirectMonitorStateProperty, 0); }, 0, true, 10},
    {"level",
     [] {
         const Float32 gains[2] = {1.0F, 0.5F};
         return AudioDriverPlugInDeviceSetProperty(258, nullptr, 1, 1, kDirectMonitorLevelProperty,
                                                   8, gains);
     },
     0, true, 8, true},
};

bool IsAllowed(OSStatus status)
{
    return status == 0 || status == kUnspecified || status == kCFMessagePortIsInvalid ||
           status == kCFMessagePortTransportError;
}

/// Performs an operation while the heap refuses its call number `refused`, and tells what it did.
[[noreturn]] void Perform(const Operation& operation, int refused)
{
    // On the Mac a constant string takes no memory; here it does when it is first used.
    CFSTR(kServerPortNameFormat);
    CFSTR("%s"); // the server process's
    CFRunLoopGetCurrent();
    if (OpenDevice(258) != 0 ||
        (operation.isConnected && SetInteger(kDirectMonitorEnableProperty, 9) != 0)) {
        _exit(kCannotBegin);
    }
    const SInt32 objectsBefore = StandinGetTotalLiveObjectCount() - CountOpenedPorts();
    OSStatus status = 0;
    bool hasRefused = false;
    {
        const FailingHeap failing(refused);
        try {
            status = operation.call();
        } catch (const std::bad_alloc&) {
            status = kThrown;
        }
        hasRefused = failing.HasRefused();
    }
    const SInt32 lost = StandinGetTotalLiveObjectCount() - CountOpenedPorts() - objectsBefore;
    if (!hasRefused) {
        _exit(status == operation.usual ? kDone : kWrongWhenDone);
    }
    if (status != kThrown && status != operation.usual && !IsAllowed(status)) {
        _exit(kWrongStatus);
    }
    // An exception leaves the dictionary and the number, and nothing else. One that comes before
    // they are made is the value's; the platform throws none.
    const bool isOfValue = operation.isValueOnHeap && refused == 1;
    if (lost != (status == kThrown && !isOfValue ? 2 : 0)) {
        _exit(kLostObjects);
    }
    if (SetInteger(kDirectMonitorEnableProperty, 2) != 0 || AudioDriverPlugInClose(258) != 0) {
        _exit(kDoesNotGoOn);
    }
    _exit(status == kThrown ? kThrew : kAnswered);
}

int RunInChild(const Operation& operation, int refused)
{
    const pid_t child = fork();
    if (child == 0) {
        Perform(operation, refused);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(HeapFailure, EveryRefusalInEveryEntryPointIsAnsweredAndNothingElseIsLost)
{
    ServerProcess server(ServerProcess::kSwallows);
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.what);
        int refused = 1;
        for (; refused < 200; ++refused) {
            SCOPED_TRACE(refused);
            const int outcome = RunInChild(operation, refused);
            if (outcome == kDone) {
                break;
            }
            // Without memory for its record, Open stores through the null pointer.
            const bool isOpen = operation.call == kOperations[0].call;
            EXPECT_TRUE(outcome == kAnswered || outcome == kThrew || (isOpen && refused == 1))
                << outcome;
        }
        EXPECT_GT(refused, operation.leastCalls);
        EXPECT_LT(refused, 200);
    }
}

} // namespace
