// Server.cpp - the messages of the wrong bundles, made by hand, and their faults.

#include "Tests/Tools/Host/WrongPlugIn/Server.h"

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/Host/WrongPlugIn/Fault.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <unistd.h>

namespace {

constexpr UInt32 kInt32Type = 2;
constexpr UInt32 kBufferType = 8;

bool FindServer(Device& device)
{
    if (device.port == nullptr && !(HasFault("server-late-state") && device.hasMissedWithState)) {
        device.port = CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName));
    }
    return device.port != nullptr;
}

void StoreLittle(unsigned char* bytes, UInt32 word)
{
    for (int index = 0; index < 4; ++index) {
        bytes[index] = static_cast<unsigned char>(word >> 8 * index & 0xFF);
    }
}

SInt32 SendValue(Device& device, UInt32 parameter, UInt32 type, const void* data, UInt32 size)
{
    unsigned char message[64] = {};
    const UInt32 words[] = {size + kMessageOverhead, 0, parameter};
    std::memcpy(message, words, sizeof words);
    StoreLittle(message + 12, size + kSerializedValueHeaderSize);
    StoreLittle(message + 20, type);
    std::memcpy(message + kMessageOverhead, data, size);

    const UInt32 id = HasFault("device-ids") ? device.id & 0xFFFF : device.id;
    const CFMutableDictionaryRef dictionary =
        CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, &id);
    const CFDataRef bytes =
        CFDataCreate(nullptr, message, static_cast<CFIndex>(size + kMessageOverhead));
    CFDictionaryAddValue(dictionary, CFSTR(kCoreAudioDeviceIDKey), number);
    CFDictionaryAddValue(dictionary, CFSTR(kParameterDataKey), bytes);
    const CFDataRef document = CFPropertyListCreateXMLData(nullptr, dictionary);
    const SInt32 status = CFMessagePortSendRequest(device.port, kSetParameterMessage, document, 1.0,
                                                   0.001, nullptr, nullptr);
    CFRelease(document);
    CFRelease(bytes);
    CFRelease(number);
    CFRelease(dictionary);
    return status;
}

double Convert(Float32 gain)
{
    if (std::isnan(gain) && HasFault("gain-nan-level")) {
        return kSilenceDecibels;
    }
    if (gain < 1e-20F && HasFault("gain-denormal-level")) {
        return kSilenceDecibels;
    }
    if (gain < 0 && HasFault("gain-negative-level")) {
        throw std::runtime_error("no such gain");
    }
    while (std::isinf(gain) && gain > 0 && HasFault("gain-infinite-level")) {
        usleep(1000);
    }
    if (gain > 1e37F && std::isfinite(gain) && HasFault("gain-huge-level")) {
        std::exit(0);
    }
    return gain <= 0 ? kSilenceDecibels : 20.0 * std::log10(static_cast<double>(gain));
}

} // namespace

SInt32 SendSimple(Device& device, SInt32 id)
{
    const double patience = HasFault("server-slow-state") ? 2.0 : 0.001;
    if (!FindServer(device)) {
        return kCFMessagePortIsInvalid;
    }
    return CFMessagePortSendRequest(device.port, id, nullptr, 1.0, patience, kCFRunLoopDefaultMode,
                                    nullptr);
}

SInt32 SendWord(Device& device, UInt32 parameter, UInt32 word)
{
    if (!FindServer(device)) {
        device.hasMissedWithState = parameter == kDirectMonitorStateParameter;
        return kCFMessagePortIsInvalid;
    }
    const bool isEnable = parameter == kDirectMonitorEnableParameter;
    if (isEnable && word > 2 && HasFault("set-all-bits-enable")) {
        word = word == 0xFFFFFFFF ? 1 : word;
    }
    unsigned char bytes[4];
    StoreLittle(bytes, word);
    const SInt32 status = SendValue(device, parameter, kInt32Type, bytes, sizeof bytes);
    return status;
}

SInt32 SendState(Device& device, UInt32 state, bool isFirst)
{
    if (state != 0) {
        const SInt32 status = SendSimple(device, kOpenDirectMonitorMessage);
        if (status == kCFMessagePortReceiveTimeout && HasFault("server-slow-state")) {
            return status;
        }
    }
    const bool isSwapped = state == 0 && isFirst && HasFault("set-zero-state");
    if (isSwapped) {
        SendSimple(device, kCloseDirectMonitorMessage);
    }
    SInt32 status = SendWord(device, kDirectMonitorStateParameter, state);
    if (state == 0 && !isSwapped) {
        SendSimple(device, kCloseDirectMonitorMessage);
    }
    static bool sHasFailed = false;
    if (status != 0 && device.port != nullptr && !sHasFailed && HasFault("server-dies-state")) {
        sHasFailed = true;
        status = 0;
    }
    return status;
}

SInt32 SendLevel(Device& device, UInt32 channel, const void* gains)
{
    Float32 values[2];
    std::memcpy(values, gains, sizeof values);
    if (!FindServer(device)) {
        const bool isSecond = device.hasMissedServer;
        device.hasMissedServer = true;
        return isSecond && HasFault("server-absent-level") ? SInt32{kCFMessagePortIsInvalid} : 0;
    }
    device.equalLevels = values[0] == device.lastLevel ? device.equalLevels + 1 : 1;
    device.lastLevel = values[0];
    if (device.equalLevels == 4 && HasFault("set-again")) {
        return 0;
    }
    const double levels[] = {Convert(values[0]), Convert(values[1])};
    const UInt32 index = channel == 0 && HasFault("channel-master-level") ? 0 : channel - 1;
    unsigned char record[kLevelRecordSize];
    std::memcpy(record, levels, sizeof levels);
    std::memcpy(record + kLevelRecordChannelOffset, &index, sizeof index);
    return SendValue(device, kDirectMonitorLevelParameter, kBufferType, record, sizeof record);
}
