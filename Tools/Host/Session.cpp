// Session.cpp - the calls of the entry points.

#include "Tools/Host/Session.h"

#include <chrono>
#include <exception>
#include <new>
#include <thread>
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

const char* GetEntryPointName(Action action)
{
    switch (action) {
    case Action::kOpen:
        return "AudioDriverPlugInOpen";
    case Action::kClose:
        return "AudioDriverPlugInClose";
    case Action::kInfo:
        return "AudioDriverPlugInDeviceGetPropertyInfo";
    case Action::kGet:
        return "AudioDriverPlugInDeviceGetProperty";
    case Action::kSet:
        return "AudioDriverPlugInDeviceSetProperty";
    case Action::kStreamInfo:
        return "AudioDriverPlugInStreamGetPropertyInfo";
    case Action::kStreamGet:
        return "AudioDriverPlugInStreamGetProperty";
    case Action::kStreamSet:
        return "AudioDriverPlugInStreamSetProperty";
    case Action::kSleep:
        break;
    }
    return "";
}

Session::Session(const EntryPoints& entryPoints, Observer observer)
    : mEntryPoints(entryPoints)
    , mObserver(std::move(observer))
{}

void Session::Run(const Step& step)
{
    if (step.action == Action::kSleep) {
        std::this_thread::sleep_for(std::chrono::duration<double>(step.seconds));
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
    TrimData(result);
    result.isAsExpected =
        result.exception.empty() && (step.isAnyExpected || result.status == step.expected);
    mObserver(step, result);
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
