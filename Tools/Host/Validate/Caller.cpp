// Caller.cpp - the calls, with guards around all that is lent.

#include "Tools/Host/Validate/Caller.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Session.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <exception>

namespace Validate {
namespace {

using Access = LentBuffer::Access;
using Recording::Action;

constexpr io_object_t kNoStream = 0;

std::atomic<int> gCallbacks;

OSStatus TakeDeviceChange(AudioDeviceID, UInt32, Boolean, AudioDevicePropertyID)
{
    ++gCallbacks;
    return kAudioHardwareNoError;
}

OSStatus TakeStreamChange(AudioDeviceID, io_object_t, UInt32, AudioDevicePropertyID)
{
    ++gCallbacks;
    return kAudioHardwareNoError;
}

void RequireUndamaged(const LentBuffer& buffer, const char* name)
{
    if (buffer.IsDamaged()) {
        throw CheckFailed(std::string("it wrote outside the ") + name + " (" +
                          Tools::Count(buffer.GetSize(), "byte") + ") that it was lent");
    }
}

Bytes Copy(const LentBuffer& buffer)
{
    const auto* const first = static_cast<const unsigned char*>(buffer.Get());
    return {first, first + buffer.GetSize()};
}

} // namespace

int Caller::GetCallbackCount()
{
    return gCallbacks;
}

template <class Function>
SInt32 Caller::Run(Event& event, Function function)
{
    const auto start = std::chrono::steady_clock::now();
    try {
        event.status = function();
    } catch (const std::exception& exception) {
        event.isThrown = true;
        CopyText(event.thrown, exception.what());
    } catch (...) {
        event.isThrown = true;
        CopyText(event.thrown, "something that is no std::exception");
    }
    event.duration = static_cast<UInt64>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                             std::chrono::steady_clock::now() - start)
                                             .count());
    event.isDone = true;
    if (event.isThrown) {
        throw CheckFailed(std::string("it threw an exception: ") + event.thrown);
    }
    return event.status;
}

Event& Caller::Begin(Action action, const Request& request)
{
    Event& event = mJournal.Add();
    event.action = action;
    event.device = request.device;
    event.channel = request.channel;
    event.isInput = request.isInput;
    event.selector = request.selector;
    event.size = request.size.value_or(static_cast<UInt32>(request.data.size()));
    event.isSizeNull = !request.hasSize;
    event.isWritableNull = !request.hasWritable;
    event.isDataNull = !request.hasData;
    if (action == Action::kSet || action == Action::kStreamSet) {
        event.dataSize = static_cast<UInt32>(request.data.size());
        std::copy_n(request.data.begin(), std::min(request.data.size(), Event::kMostData),
                    event.data);
    }
    return event;
}

SInt32 Caller::Open(UInt32 device)
{
    AudioDriverPlugInHostInfo info = {};
    info.mDeviceID = device;
    info.mDevicePropertyChangedProc = TakeDeviceChange;
    info.mStreamPropertyChangedProc = TakeStreamChange;
    const LentBuffer lent("host info", &info, sizeof info, Access::kWritable);
    Event& event = Begin(Action::kOpen, {.device = device});
    const SInt32 status = Run(event, [&] {
        return mEntryPoints.open(static_cast<AudioDriverPlugInHostInfo*>(lent.Get()));
    });
    RequireUndamaged(lent, "host info");
    return status;
}

SInt32 Caller::Close(UInt32 device)
{
    Event& event = Begin(Action::kClose, {.device = device});
    return Run(event, [&] { return mEntryPoints.close(device); });
}

Answer Caller::Info(const Request& request)
{
    return AskInfo(Action::kInfo, request);
}

Answer Caller::StreamInfo(const Request& request)
{
    return AskInfo(Action::kStreamInfo, request);
}

Answer Caller::Get(const Request& request)
{
    return AskGet(Action::kGet, request);
}

Answer Caller::StreamGet(const Request& request)
{
    return AskGet(Action::kStreamGet, request);
}

Answer Caller::Set(const Request& request)
{
    return AskSet(Action::kSet, request);
}

Answer Caller::StreamSet(const Request& request)
{
    return AskSet(Action::kStreamSet, request);
}

Answer Caller::AskInfo(Action action, const Request& request)
{
    const LentBuffer size("size", &kUntouchedSize, sizeof kUntouchedSize, Access::kWritable);
    const LentBuffer flag("writable flag", &kUntouchedFlag, sizeof kUntouchedFlag,
                          Access::kWritable);
    auto* const outSize = request.hasSize ? static_cast<UInt32*>(size.Get()) : nullptr;
    auto* const outFlag = request.hasWritable ? static_cast<Boolean*>(flag.Get()) : nullptr;
    Event& event = Begin(action, request);
    Answer answer;
    answer.status = Run(event, [&] {
        return action == Action::kInfo
                   ? mEntryPoints.deviceGetPropertyInfo(request.device, request.channel,
                                                        request.isInput, request.selector, outSize,
                                                        outFlag)
                   : mEntryPoints.streamGetPropertyInfo(request.device, kNoStream, request.channel,
                                                        request.selector, outSize, outFlag);
    });
    RequireUndamaged(size, "size");
    RequireUndamaged(flag, "writable flag");
    std::memcpy(&answer.size, size.Get(), sizeof answer.size);
    std::memcpy(&answer.isWritable, flag.Get(), sizeof answer.isWritable);
    event.outSize = answer.size;
    event.outWritable = answer.isWritable;
    return answer;
}

Answer Caller::AskGet(Action action, const Request& request)
{
    const UInt32 passed = request.size.value_or(static_cast<UInt32>(request.data.size()));
    const LentBuffer size("size", &passed, sizeof passed, Access::kWritable);
    const LentBuffer data("data", request.data.data(), request.data.size(), Access::kWritable);
    auto* const ioSize = request.hasSize ? static_cast<UInt32*>(size.Get()) : nullptr;
    void* const outData = request.hasData ? data.Get() : nullptr;
    Event& event = Begin(action, request);
    Answer answer;
    answer.status = Run(event, [&] {
        return action == Action::kGet
                   ? mEntryPoints.deviceGetProperty(request.device, request.channel,
                                                    request.isInput, request.selector, ioSize,
                                                    outData)
                   : mEntryPoints.streamGetProperty(request.device, kNoStream, request.channel,
                                                    request.selector, ioSize, outData);
    });
    RequireUndamaged(size, "size");
    RequireUndamaged(data, "data");
    std::memcpy(&answer.size, size.Get(), sizeof answer.size);
    answer.data = Copy(data);
    event.outSize = answer.size;
    return answer;
}

Answer Caller::AskSet(Action action, const Request& request)
{
    // What is set is not the plug-in's to change, and the time is not even its to read.
    const AudioTimeStamp noTime = {};
    const LentBuffer when("time stamp", &noTime, sizeof noTime, Access::kNone);
    // An even size and one byte before the data, wherever the buffer lies, make its address odd.
    const std::size_t offset = request.isOdd ? 1 : 0;
    Bytes bytes(offset + request.data.size() + (request.isOdd ? (request.data.size() + 1) % 2 : 0));
    std::ranges::copy(request.data, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    const LentBuffer data("data", bytes.data(), bytes.size(), Access::kReadOnly);
    const auto* const first = static_cast<const unsigned char*>(data.Get());
    const void* const inData = request.hasData ? first + offset : nullptr;
    const auto* const inWhen = static_cast<const AudioTimeStamp*>(when.Get());
    Event& event = Begin(action, request);
    Answer answer;
    answer.status = Run(event, [&] {
        return action == Action::kSet
                   ? mEntryPoints.deviceSetProperty(request.device, inWhen, request.channel,
                                                    request.isInput, request.selector, event.size,
                                                    inData)
                   : mEntryPoints.streamSetProperty(request.device, kNoStream, inWhen,
                                                    request.channel, request.selector, event.size,
                                                    inData);
    });
    return answer;
}

} // namespace Validate
