// ServerLink.cpp - opening the server's port and sending to it.

#include "DriverPlugIn/ServerLink.h"

#include "DriverPlugIn/DeviceMessageSerializer.h"
#include "Protocol/ServerProtocol.h"

#include <QX/Buffer.h>
#include <QX/RCPtr.h>

namespace {

// The dictionary compares keys by address and retains nothing: the keys must outlive it.
const CFStringRef gDeviceIDKey = CFSTR(kCoreAudioDeviceIDKey);
const CFStringRef gParameterDataKey = CFSTR(kParameterDataKey);

// Acquire pairs with the release in MessagePortValid: a thread that sees another thread's port also
// sees what the port points at.
CFMessagePortRef GetPort(const _PlugInInfo& info)
{
    return __atomic_load_n(&info.mMessagePort, __ATOMIC_ACQUIRE);
}

CFDataRef CreateData(QX::LIBuffer& buffer)
{
    const auto* const bytes = static_cast<const UInt8*>(buffer.GetRawPtr());
    // Without memory the buffer has a size but no bytes, and the platform would read from null.
    if (bytes == nullptr) {
        return nullptr;
    }
    return CFDataCreate(nullptr, bytes, static_cast<CFIndex>(buffer.GetSizeBytes()));
}

// Since MessagePortValid found the port, the failed look-up of another thread may have stored null
// over it, and the platform ends a process that sends to null.
SInt32 Send(const _PlugInInfo& info, SInt32 messageID, CFDataRef data, CFStringRef replyMode)
{
    const CFMessagePortRef port = GetPort(info);
    if (port == nullptr) {
        return kCFMessagePortIsInvalid;
    }
    return CFMessagePortSendRequest(port, messageID, data, kSendTimeoutSeconds,
                                    kReceiveTimeoutSeconds, replyMode, nullptr);
}

SInt32 SendDocument(const _PlugInInfo& info, CFDictionaryRef dictionary)
{
    const CFDataRef document = CFPropertyListCreateXMLData(nullptr, dictionary);
    if (document == nullptr) {
        return kCFMessagePortIsInvalid;
    }
    const SInt32 status = Send(info, kSetParameterMessage, document, nullptr);
    CFRelease(document);
    return status;
}

} // namespace

int MessagePortValid(_PlugInInfo* info)
{
    if (GetPort(*info) != nullptr) {
        return 1;
    }
    const CFStringRef name =
        CFStringCreateWithFormat(nullptr, nullptr, CFSTR(kServerPortNameFormat), kServerPortGUID);
    if (name == nullptr) {
        return 0;
    }
    __atomic_store_n(&info->mMessagePort, CFMessagePortCreateRemote(nullptr, name),
                     __ATOMIC_RELEASE);
    CFRelease(name);
    return GetPort(*info) != nullptr ? 1 : 0;
}

SInt32 SendSimpleMessageToServer(_PlugInInfo* info, SInt32 messageID)
{
    if (MessagePortValid(info) == 0) {
        return kCFMessagePortIsInvalid;
    }
    return Send(*info, messageID, nullptr, kCFRunLoopDefaultMode);
}

// No object holds the references to the platform's objects and releases them. So after an exception
// they are kept, unlike the buffer's, and callers can see that in the objects' counts.
SInt32 SendMessageToServer(_PlugInInfo* info, UInt32 parameterID, QX::Variant& value)
{
    if (MessagePortValid(info) == 0) {
        return kCFMessagePortIsInvalid;
    }
    const CFMutableDictionaryRef dictionary =
        CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    if (dictionary == nullptr) {
        return kCFMessagePortIsInvalid;
    }
    // CFNumberCreate reads the four bytes at this address: the device ID, as long as it is the
    // record's first field.
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, info);
    if (number == nullptr) {
        CFRelease(dictionary);
        return kCFMessagePortIsInvalid;
    }
    CFDictionaryAddValue(dictionary, gDeviceIDKey, number);

    auto buffer = QX::LByteBuffer::Create(0, 0, true);
    // The result is not needed. Without memory, CreateData returns null below. A value that cannot
    // be serialized would be sent with bytes that are not initialised, but the plug-in's own values
    // always can.
    DeviceMessageSerializer::CreateSetParamMessage(parameterID, value, buffer);

    SInt32 status = kCFMessagePortIsInvalid;
    const CFDataRef data = CreateData(*buffer);
    if (data != nullptr) {
        CFDictionaryAddValue(dictionary, gParameterDataKey, data);
        status = SendDocument(*info, dictionary);
        CFRelease(data);
    }
    CFRelease(number);
    buffer = nullptr;
    CFRelease(dictionary);
    return status;
}
