// LevelServer.cpp - a whole server: it holds the port and prints what a plug-in sends to it.
//
// This file and Protocol/ServerProtocol.h, which describes every message, are all that a server
// needs. It makes the platform's own calls, so that the same file is a server on the Mac. A
// session looks like this:
//
//     open
//     device 258, parameter -251: 1
//     device 258, parameter -249: channel 2, -6.02 dB, -12.04 dB
//
// Ctrl-C or SIGTERM ends it: the signal sets a flag that the loop in main looks at, and what was
// sent before is still printed.

#include "Protocol/ServerProtocol.h"

#include <CoreFoundation/CoreFoundation.h>

#include <csignal>
#include <cstdio>
#include <cstring>

namespace {

volatile std::sig_atomic_t gIsEnding = 0;

void End(int)
{
    gIsEnding = 1;
}

/// Reads a value in the sender's byte order. The sender runs on this machine, so it is ours.
template <class T>
T ReadAt(const UInt8* bytes, UInt32 offset)
{
    T value;
    std::memcpy(&value, bytes + offset, sizeof(value));
    return value;
}

/// Reads a word of a serialized value, which is little-endian on every host.
UInt32 ReadWordAt(const UInt8* bytes, UInt32 offset)
{
    return UInt32{bytes[offset]} | UInt32{bytes[offset + 1]} << 8 |
           UInt32{bytes[offset + 2]} << 16 | UInt32{bytes[offset + 3]} << 24;
}

/// Prints one set-parameter message. Returns false if a length or the type is wrong, or the
/// parameter is not known.
bool PrintParameter(unsigned device, const UInt8* message, UInt32 size)
{
    if (size < kMessageOverhead || ReadAt<UInt32>(message, kMessageLengthOffset) != size ||
        ReadWordAt(message, kMessageValueOffset) != size - kMessageValueOffset) {
        return false;
    }
    const auto parameter = ReadAt<UInt32>(message, kMessageParameterOffset);
    const UInt32 type = ReadWordAt(message, kMessageValueOffset + 8);
    const UInt8* const data = message + kMessageOverhead;
    const UInt32 dataSize = size - kMessageOverhead;
    if (parameter == kDirectMonitorLevelParameter && type == 8 && dataSize == kLevelRecordSize) {
        std::printf("device %u, parameter -249: channel %u, %.2f dB, %.2f dB\n", device,
                    ReadAt<unsigned>(data, kLevelRecordChannelOffset) + 1,
                    ReadAt<double>(data, kLevelRecordFirstOffset),
                    ReadAt<double>(data, kLevelRecordSecondOffset));
        return true;
    }
    const bool isSwitch =
        parameter == kDirectMonitorEnableParameter || parameter == kDirectMonitorStateParameter;
    if (isSwitch && type == 2 && dataSize == 4) {
        std::printf("device %u, parameter %d: %u\n", device, static_cast<int>(parameter),
                    static_cast<unsigned>(ReadWordAt(data, 0)));
        return true;
    }
    return false;
}

/// Returns the value of a key, or null if the list is no dictionary, has no such key, or has a
/// value of another type there.
CFTypeRef FindValue(CFPropertyListRef list, CFStringRef key, CFTypeID type)
{
    if (CFGetTypeID(list) != CFDictionaryGetTypeID()) {
        return nullptr;
    }
    const CFTypeRef value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(list), key);
    return value != nullptr && CFGetTypeID(value) == type ? value : nullptr;
}

/// Prints the property list that a set-parameter message comes in. Every program of the same user
/// can send here, so each step checks what it was given.
void PrintDocument(CFDataRef document)
{
    CFStringRef error = nullptr;
    const CFPropertyListRef list =
        CFPropertyListCreateFromXMLData(nullptr, document, kCFPropertyListImmutable, &error);
    if (list == nullptr) {
        char text[256] = "";
        if (error != nullptr) {
            CFStringGetCString(error, text, sizeof(text), kCFStringEncodingUTF8);
            CFRelease(error);
        }
        std::printf("not a property list: %s\n", text);
        return;
    }
    const auto number = static_cast<CFNumberRef>(
        FindValue(list, CFSTR(kCoreAudioDeviceIDKey), CFNumberGetTypeID()));
    const auto data =
        static_cast<CFDataRef>(FindValue(list, CFSTR(kParameterDataKey), CFDataGetTypeID()));
    unsigned device = 0; // its bits travel as a signed integer
    if (number == nullptr || data == nullptr ||
        !CFNumberGetValue(number, kCFNumberSInt32Type, &device) ||
        !PrintParameter(device, CFDataGetBytePtr(data),
                        static_cast<UInt32>(CFDataGetLength(data)))) {
        std::puts("not a parameter message, or an unknown parameter");
    }
    CFRelease(list);
}

/// Handles one message. The sender of 'OpLM' and 'ClLM' waits for a reply: null sends an empty one.
CFDataRef Receive(CFMessagePortRef, SInt32 id, CFDataRef data, void*)
{
    if (id == kOpenDirectMonitorMessage) {
        std::puts("open");
    } else if (id == kCloseDirectMonitorMessage) {
        std::puts("close");
    } else if (id == kSetParameterMessage && data != nullptr) {
        PrintDocument(data);
    } else {
        std::puts("not a message of the protocol");
    }
    std::fflush(stdout);
    return nullptr;
}

} // namespace

int main()
{
    std::signal(SIGINT, End);
    std::signal(SIGTERM, End);
    const CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, CFSTR(kServerPortName), Receive, nullptr, nullptr);
    if (port == nullptr) {
        std::fputs("The port " kServerPortName
                   " has another server, or cannot be made; qxmon says which.\n",
                   stderr);
        return 1;
    }
    const CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, port, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    std::puts("waiting at " kServerPortName);
    std::fflush(stdout);
    while (gIsEnding == 0) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, true);
    }
    // What the queue holds now was answered with 0. A sender that never stops must not keep us.
    for (int left = 1000; left > 0 && CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) ==
                                          kCFRunLoopRunHandledSource;
         --left) {
    }
    CFMessagePortInvalidate(port);
    CFRelease(source);
    CFRelease(port);
    return 0;
}
