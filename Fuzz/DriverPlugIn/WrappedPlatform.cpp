// WrappedPlatform.cpp - the functions that stand between the plug-in and the platform.

#include "WrappedPlatform.h"

#include "FuzzCheck.h"

#include "Protocol/ServerProtocol.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <deque>

namespace {

struct State
{
    bool isServerPresent = false;
    uint8_t failures = 0;
    std::deque<SInt32> answers;
    std::vector<WrappedPlatform::Sent> sent;
    std::vector<CFTypeRef> ports;
    std::vector<CFTypeRef> leftBehind;
    /// What the message under way has been made from so far.
    CFTypeRef dictionary = nullptr;
    CFTypeRef number = nullptr;
};

State gState;

void ReleaseAll(std::vector<CFTypeRef>& objects)
{
    std::for_each(objects.begin(), objects.end(), &CFRelease);
    objects.clear();
}

} // namespace

void WrappedPlatform::Reset()
{
    gState = State();
}

void WrappedPlatform::SetServerPresent(bool isPresent)
{
    gState.isServerPresent = isPresent;
}

bool WrappedPlatform::IsServerPresent()
{
    return gState.isServerPresent;
}

void WrappedPlatform::SetFailures(uint8_t failures)
{
    gState.failures = failures;
}

bool WrappedPlatform::IsFailing(Failure failure)
{
    return (gState.failures & failure) != 0;
}

void WrappedPlatform::AnswerNextSend(SInt32 status)
{
    gState.answers.push_back(status);
}

SInt32 WrappedPlatform::GetAnswer(std::size_t ahead)
{
    return ahead < gState.answers.size() ? gState.answers[ahead] : 0;
}

const std::vector<WrappedPlatform::Sent>& WrappedPlatform::GetSent()
{
    return gState.sent;
}

void WrappedPlatform::ClearSent()
{
    gState.sent.clear();
}

SInt32 WrappedPlatform::CountLeftBehind()
{
    return static_cast<SInt32>(gState.leftBehind.size());
}

void WrappedPlatform::ReleaseLeftBehind()
{
    ReleaseAll(gState.leftBehind);
}

void WrappedPlatform::ReleasePorts()
{
    ReleaseAll(gState.ports);
}

extern "C" {

// The names are the linker's: it sends the plug-in's calls of f to __wrap_f, and __real_f to f.

CFStringRef __real_CFStringCreateWithFormat(CFAllocatorRef, CFDictionaryRef, CFStringRef, ...);
CFMutableDictionaryRef __real_CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                        const CFDictionaryKeyCallBacks*,
                                                        const CFDictionaryValueCallBacks*);
CFNumberRef __real_CFNumberCreate(CFAllocatorRef, CFNumberType, const void*);
CFDataRef __real_CFDataCreate(CFAllocatorRef, const UInt8*, CFIndex);
CFDataRef __real_CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef);

CFStringRef __wrap_CFStringCreateWithFormat(CFAllocatorRef allocator, CFDictionaryRef options,
                                            CFStringRef format, ...)
{
    if (WrappedPlatform::IsFailing(WrappedPlatform::kString)) {
        return nullptr;
    }
    va_list arguments;
    va_start(arguments, format);
    const char* const text = va_arg(arguments, const char*);
    va_end(arguments);
    return __real_CFStringCreateWithFormat(allocator, options, format, text);
}

CFMutableDictionaryRef
__wrap_CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                 const CFDictionaryValueCallBacks* valueCallBacks)
{
    if (WrappedPlatform::IsFailing(WrappedPlatform::kDictionary)) {
        return nullptr;
    }
    const CFMutableDictionaryRef made =
        __real_CFDictionaryCreateMutable(allocator, capacity, keyCallBacks, valueCallBacks);
    gState.dictionary = made;
    return made;
}

CFNumberRef __wrap_CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value)
{
    if (WrappedPlatform::IsFailing(WrappedPlatform::kNumber)) {
        return nullptr;
    }
    const CFNumberRef made = __real_CFNumberCreate(allocator, type, value);
    gState.number = made;
    return made;
}

CFDataRef __wrap_CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length)
{
    if (WrappedPlatform::IsFailing(WrappedPlatform::kThrow)) {
        gState.leftBehind.push_back(gState.dictionary);
        gState.leftBehind.push_back(gState.number);
        throw ThrownBelow();
    }
    return WrappedPlatform::IsFailing(WrappedPlatform::kData)
               ? nullptr
               : __real_CFDataCreate(allocator, bytes, length);
}

CFDataRef __wrap_CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list)
{
    return WrappedPlatform::IsFailing(WrappedPlatform::kDocument)
               ? nullptr
               : __real_CFPropertyListCreateXMLData(allocator, list);
}

CFMessagePortRef __wrap_CFMessagePortCreateRemote(CFAllocatorRef, CFStringRef name)
{
    char text[256] = "";
    FUZZ_CHECK(CFStringGetCString(name, text, sizeof text, kCFStringEncodingUTF8));
    FUZZ_CHECK(std::strcmp(text, kServerPortName) == 0);
    if (!gState.isServerPresent) {
        return nullptr;
    }
    // The plug-in hands a port on and does not look into it, so any object will do.
    const CFDataRef port = __real_CFDataCreate(nullptr, nullptr, 0);
    gState.ports.push_back(port);
    return reinterpret_cast<CFMessagePortRef>(const_cast<void*>(static_cast<CFTypeRef>(port)));
}

SInt32 __wrap_CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 id, CFDataRef data,
                                       CFTimeInterval sendTimeout, CFTimeInterval receiveTimeout,
                                       CFStringRef replyMode, CFDataRef* returnData)
{
    FUZZ_CHECK(std::find(gState.ports.begin(), gState.ports.end(),
                         static_cast<CFTypeRef>(remote)) != gState.ports.end());
    FUZZ_CHECK(sendTimeout == 1.0 && receiveTimeout == 0.001 && returnData == nullptr);
    WrappedPlatform::Sent sent = {id, data != nullptr, replyMode != nullptr, {}};
    if (data != nullptr) {
        const UInt8* const bytes = CFDataGetBytePtr(data);
        sent.data.assign(bytes, bytes + CFDataGetLength(data));
    }
    gState.sent.push_back(std::move(sent));
    const SInt32 status = WrappedPlatform::GetAnswer(0);
    if (!gState.answers.empty()) {
        gState.answers.pop_front();
    }
    return status;
}

} // extern "C"
