// SessionTest.cpp - the calls that a session makes, and what it says of their answers.

#include "Tools/Host/Session.h"

#include "Tools/Host/Script.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace {

using Host::CallResult;
using Host::Step;

std::string gJournal;

template <class... Numbers>
void Note(const char* name, Numbers... numbers)
{
    gJournal += name;
    (gJournal.append(" ").append(std::to_string(numbers)), ...);
    gJournal += "; ";
}

OSStatus Open(AudioDriverPlugInHostInfo* info)
{
    Note("open", info->mDeviceID);
    const bool hasProcs =
        info->mDevicePropertyChangedProc != nullptr && info->mStreamPropertyChangedProc != nullptr;
    return hasProcs ? 0 : kAudioHardwareUnspecifiedError;
}

OSStatus Close(AudioDeviceID device)
{
    Note("close", device);
    return 0;
}

OSStatus GetInfo(AudioDeviceID device, UInt32 channel, Boolean isInput, AudioDevicePropertyID,
                 UInt32* size, Boolean* isWritable)
{
    Note("info", device, channel, isInput);
    *size = 8;
    *isWritable = 1;
    return 0;
}

OSStatus Get(AudioDeviceID device, UInt32 channel, Boolean isInput, AudioDevicePropertyID selector,
             UInt32* size, void* data)
{
    Note("get", device, channel, isInput, *size);
    if (selector == 0x6F6E6521) {
        *static_cast<unsigned char*>(data) = 0xAB;
        *size = 1;
        return 0;
    }
    return data != nullptr ? kAudioHardwareUnsupportedOperationError
                           : kAudioHardwareUnspecifiedError;
}

OSStatus Set(AudioDeviceID device, const AudioTimeStamp*, UInt32 channel, Boolean isInput,
             AudioDevicePropertyID selector, UInt32 size, const void* data)
{
    if (selector == 0x74687277) {
        throw std::runtime_error("out of order");
    }
    UInt32 word = 0;
    std::memcpy(&word, data, sizeof word);
    Note("set", device, channel, isInput, size, word);
    return 0;
}

OSStatus StreamGetInfo(AudioDeviceID device, io_object_t, UInt32 channel, AudioDevicePropertyID,
                       UInt32*, Boolean*)
{
    Note("stream info", device, channel);
    return kAudioHardwareUnknownPropertyError;
}

OSStatus StreamGet(AudioDeviceID device, io_object_t, UInt32 channel, AudioDevicePropertyID,
                   UInt32* size, void*)
{
    Note("stream get", device, channel, *size);
    return kAudioHardwareUnknownPropertyError;
}

OSStatus StreamSet(AudioDeviceID device, io_object_t, const AudioTimeStamp*, UInt32 channel,
                   AudioDevicePropertyID, UInt32 size, const void*)
{
    Note("stream set", device, channel, size);
    return kAudioHardwareUnknownPropertyError;
}

constexpr Host::EntryPoints kEntryPoints = {Open, Close,         GetInfo,   Get,
                                            Set,  StreamGetInfo, StreamGet, StreamSet};

/// Runs a script and returns what the observer was told.
std::vector<CallResult> RunScript(const std::string& text)
{
    gJournal.clear();
    const Host::Script script = Host::ParseScript(text);
    EXPECT_EQ(script.error, "");
    std::vector<CallResult> results;
    Host::Session session(kEntryPoints, [&results](const Step&, const CallResult& result) {
        results.push_back(result);
    });
    for (const Step& step : script.steps) {
        session.Run(step);
    }
    return results;
}

TEST(Session, PassesTheArgumentsOfEachEntryPoint)
{
    const std::vector<CallResult> results = RunScript("open 5\n"
                                                      "info level\n"
                                                      "get enable channel=2 side=output\n"
                                                      "set state 7\n"
                                                      "stream info level\n"
                                                      "stream get level\n"
                                                      "stream set enable channel=3\n"
                                                      "close\n");

    EXPECT_EQ(gJournal, "open 5; info 5 1 1; get 5 2 0 4; set 5 0 1 4 7; stream info 5 1; "
                        "stream get 5 1 8; stream set 5 3 4; close 5; ");
    ASSERT_EQ(results.size(), 8u);
    for (const CallResult& result : results) {
        EXPECT_TRUE(result.isAsExpected);
        EXPECT_GE(result.microseconds, 0);
    }
}

TEST(Session, AddressesTheDeviceOpenedLastUnlessToldOtherwise)
{
    RunScript("close\nopen 1\nopen 2\nclose\nclose 1\nclose\n");

    EXPECT_EQ(gJournal, "close 258; open 1; open 2; close 2; close 1; close 2; ");
}

TEST(Session, ComparesWithTheExpectedStatus)
{
    const std::vector<CallResult> results =
        RunScript("get enable\nexpect ok\nget enable\nexpect any\nget enable\n");

    EXPECT_FALSE(results[0].isAsExpected);
    EXPECT_TRUE(results[1].isAsExpected);
    EXPECT_TRUE(results[2].isAsExpected);
}

TEST(Session, KeepsWhatACallHasStored)
{
    const std::vector<CallResult> results = RunScript("info level\nget 'one!'\nget enable\n");

    EXPECT_EQ(results[0].size, 8u);
    EXPECT_EQ(results[0].isWritable, 1);
    EXPECT_EQ(results[1].data, std::vector<unsigned char>{0xAB});
    EXPECT_TRUE(results[2].data.empty());
}

TEST(Session, HandsOverAnAddressAlsoForNoBytes)
{
    const std::vector<CallResult> results = RunScript("get enable size=0\n");

    EXPECT_EQ(results[0].status, kAudioHardwareUnsupportedOperationError);
}

// A host that only slept would not learn of the end of a server, nor of a reply.
TEST(Session, RunsTheRunLoopDuringAPause)
{
    bool hasArrived = false;
    CFMessagePortContext context = {0, &hasArrived, nullptr, nullptr, nullptr};
    const CFMessagePortRef local = CFMessagePortCreateLocal(
        nullptr, CFSTR("org.qxaudio.pause"),
        [](CFMessagePortRef, SInt32, CFDataRef, void* info) -> CFDataRef {
            *static_cast<bool*>(info) = true;
            return nullptr;
        },
        &context, nullptr);
    const CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, local, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    const CFMessagePortRef remote = CFMessagePortCreateRemote(nullptr, CFSTR("org.qxaudio.pause"));
    EXPECT_EQ(CFMessagePortSendRequest(remote, 1, nullptr, 1, 0, nullptr, nullptr), 0);

    RunScript("sleep 0.001\n");

    EXPECT_TRUE(hasArrived);
    CFMessagePortInvalidate(local);
    for (const CFTypeRef object : {CFTypeRef(remote), CFTypeRef(source), CFTypeRef(local)}) {
        CFRelease(object);
    }
}

TEST(Session, ReportsAnExceptionAndGoesOn)
{
    const std::vector<CallResult> results = RunScript("set thrw 1\nexpect any\nclose 9\n");

    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].exception, "out of order");
    EXPECT_FALSE(results[0].isAsExpected);
    EXPECT_TRUE(results[1].isAsExpected);
}

} // namespace
