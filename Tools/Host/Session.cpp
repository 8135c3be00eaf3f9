// Session.cpp - the calls of the entry points.

#include "Tools/Host/Session.h"

#include "Tools/Host/Interruption.h"

#include <CoreFoundation/CoreFoundation.h>

#include <chrono>
#include <exception>
#include <new>
#include <utility>

namespace Host {
namespace {

using Clock = std::chrono::steady_clock;

OSStatus TakeDeviceChange(AudioDeviceID, UInt32, Boolean, AudioDevicePropertyID)
{
    return kAudioHardwareNoError;
}

OSStatus TakeStreamChange(AudioDeviceID, io_object_t, UInt32, AudioDevicePropertyID)
{
    return kAudioHardwareNoError;
}

/// What the HAL hands over for a device. The I/O objects stand for those of a driver that is not
/// there; the plug-in has no use for them but to keep them.
AudioDriverPlugInHostInfo MakeHostInfo(UInt32 device)
{
    AudioDriverPlugInHostInfo info = {};
    info.mDeviceID = device;
    info.mDevicePropertyChangedProc = TakeDeviceChange;
    info.mStreamPropertyChangedProc = TakeStreamChange;
    return info;
}

/// The address of the data. Data of no bytes has an address too: null is another request.
template <class Bytes>
auto* GetAddress(Bytes& bytes)
{
    static unsigned char sNothing = 0;
    return bytes.empty() ? static_cast<decltype(bytes.data())>(&sNothing) : bytes.data();
}

/// What lies after the room of a get, so that it is seen when that is overrun.
constexpr std::size_t kGuardSize = 64;
constexpr unsigned char kGuard = 0xA5;

void AddGuard(CallResult& result)
{
    result.data.resize(result.data.size() + kGuardSize, kGuard);
}

/// Takes the guard away and notes how far it was written.
void TakeGuard(CallResult& result)
{
    const std::size_t room = result.data.size() - kGuardSize;
    for (std::size_t index = room; index < result.data.size(); ++index) {
        result.overrun = result.data[index] != kGuard ? index + 1 - room : result.overrun;
    }
    result.data.resize(room);
}

void Pause(double seconds)
{
    using Seconds = std::chrono::duration<double>;
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
    for (auto left = end - Clock::now(); left.count() > 0; left = end - Clock::now()) {
        if (GetInterruption() != 0) {
            return;
        }
        // A loop that has nothing to wait for ends at once.
        if (CFRunLoopRunInMode(kCFRunLoopDefaultMode, Seconds(left).count(), false) ==
            kCFRunLoopRunFinished) {
            SleepUnlessInterrupted(Seconds(left).count());
        }
    }
}

/// Keeps what the call has stored, or nothing if it failed.
void TrimData(CallResult& result)
{
    const bool isShorter = result.size < result.data.size();
    if (result.status != kAudioHardwareNoError) {
        result.data.clear();
    } else if (isShorter) {
        result.data.resize(result.size);
    }
}

} // namespace

Session::Session(const EntryPoints& entryPoints, Observer observer, Announcer announcer)
    : mEntryPoints(entryPoints)
    , mObserver(std::move(observer))
    , mAnnouncer(std::move(announcer))
{}

void Session::Run(const Step& step)
{
    if (step.action == Action::kSleep) {
        Pause(step.seconds);
        return;
    }
    CallResult result;
    result.device = step.device.value_or(mCurrentDevice);
    result.size = step.size;
    if (step.action == Action::kOpen) {
        mCurrentDevice = result.device;
    }
    if (step.action == Action::kGet || step.action == Action::kStreamGet) {
        result.data.resize(step.size);
        AddGuard(result);
    }
    if (mAnnouncer) {
        mAnnouncer(step, result.device);
    }
    // What a lack of memory does to the plug-in is the plug-in's business.
    const std::new_handler handler = std::set_new_handler(nullptr);
    const Clock::time_point start = Clock::now();
    try {
        result.status = Call(step, result);
    } catch (const std::exception& exception) {
        // The entry points pass exceptions on; to the HAL that would be a crash.
        result.exception = exception.what();
        result.exception = result.exception.empty() ? "without a text" : result.exception;
    }
    std::set_new_handler(handler);
    result.microseconds = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    if (!result.data.empty()) {
        TakeGuard(result);
    }
    TrimData(result);
    result.isAsExpected = result.exception.empty() && result.overrun == 0 &&
                          (step.isAnyExpected || result.status == step.expected);
    if (result.exception.empty() && result.status == kAudioHardwareNoError) {
        NoteOpenDevices(step.action, result.device);
    }
    mObserver(step, result);
}

void Session::NoteOpenDevices(Action action, UInt32 device)
{
    if (action == Action::kOpen) {
        mOpenDevices.push_back(device);
    } else if (action == Action::kClose) {
        std::erase(mOpenDevices, device);
    }
}

void Session::CloseAll()
{
    for (const std::vector<UInt32> devices = mOpenDevices; const UInt32 device : devices) {
        Step step;
        step.action = Action::kClose;
        step.device = device;
        Run(step);
    }
}

SInt32 Session::Call(const Step& step, CallResult& result)
{
    const UInt32 device = result.device;
    switch (step.action) {
    case Action::kOpen: {
        AudioDriverPlugInHostInfo info = MakeHostInfo(device);
        return mEntryPoints.open(&info);
    }
    case Action::kClose:
        return mEntryPoints.close(device);
    case Action::kInfo:
        return mEntryPoints.deviceGetPropertyInfo(device, step.channel, step.isInput, step.property,
                                                  &result.size, &result.isWritable);
    case Action::kGet:
        return mEntryPoints.deviceGetProperty(device, step.channel, step.isInput, step.property,
                                              &result.size, GetAddress(result.data));
    case Action::kSet:
        return mEntryPoints.deviceSetProperty(device, nullptr, step.channel, step.isInput,
                                              step.property, step.size, GetAddress(step.data));
    default:
        return CallStream(step, result);
    }
}

SInt32 Session::CallStream(const Step& step, CallResult& result)
{
    constexpr io_object_t kStream = 0;
    const UInt32 device = result.device;
    switch (step.action) {
    case Action::kStreamInfo:
        return mEntryPoints.streamGetPropertyInfo(device, kStream, step.channel, step.property,
                                                  &result.size, &result.isWritable);
    case Action::kStreamGet:
        return mEntryPoints.streamGetProperty(device, kStream, step.channel, step.property,
                                              &result.size, GetAddress(result.data));
    default:
        return mEntryPoints.streamSetProperty(device, kStream, nullptr, step.channel, step.property,
                                              step.size, GetAddress(step.data));
    }
}

} // namespace Host
