// Status.cpp - statuses and other numbers of the command line.

#include "Tools/Host/Status.h"

#include <CoreAudio/AudioDriverPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOReturn.h>

#include <charconv>
#include <limits>

namespace Host {
namespace {

constexpr SInt32 kPortBecameInvalid = -5;

constexpr struct
{
    SInt32 status;
    const char* text;
} kExplanations[] = {
    {kAudioHardwareNoError, "success"},
    {kAudioHardwareUnspecifiedError,
     "unspecified error: the device is not open, or already open; or the side or channel is wrong"},
    {kAudioHardwareUnknownPropertyError, "unknown property: the plug-in leaves it to the HAL"},
    {kAudioHardwareBadPropertySizeError, "bad property size: the data has not the property's size"},
    {kAudioHardwareUnsupportedOperationError,
     "unsupported operation: the property cannot be read, or not be set on this channel"},
    {kAudioHardwareNotRunningError, "not running"},
    {kAudioHardwareIllegalOperationError, "illegal operation"},
    {kAudioHardwareBadObjectError, "bad object"},
    {kAudioHardwareBadDeviceError, "bad device"},
    {kAudioHardwareBadStreamError, "bad stream"},
    {kAudioDeviceUnsupportedFormatError, "unsupported format"},
    {kAudioDevicePermissionsError, "permission denied: another process hogs the device"},
    {kCFMessagePortSendTimeout, "send timeout: the server does not take its messages"},
    {kCFMessagePortReceiveTimeout, "receive timeout: the server has not replied"},
    {kCFMessagePortIsInvalid, "no server port: no process holds it, its server has ended, or the "
                              "message could not be built"},
    {kCFMessagePortTransportError, "transport error: the server of the cached port has ended"},
    {kPortBecameInvalid, "the server ended while its reply was awaited"},
    {kIOReturnError, "general I/O error: the plug-in had no record of the device, or no data"},
};

} // namespace

const char* ExplainStatus(SInt32 status)
{
    for (const auto& explanation : kExplanations) {
        if (explanation.status == status) {
            return explanation.text;
        }
    }
    return "a status that this interface does not define";
}

std::optional<SInt32> ParseStatus(std::string_view text)
{
    if (text == "ok") {
        return kAudioHardwareNoError;
    }
    // A code may look like a number only in quotes: '1234'.
    std::optional<UInt32> word = ParseWord(text);
    if (!word) {
        word = ParseFourCharCode(text);
    }
    return word ? std::optional<SInt32>(static_cast<SInt32>(*word)) : std::nullopt;
}

std::optional<UInt32> ParseWord(std::string_view text)
{
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative ? 1 : 0);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHexadecimal ? 2 : 0);
    UInt64 number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, isHexadecimal ? 16 : 10);
    constexpr UInt64 kLargest = std::numeric_limits<UInt32>::max();
    const UInt64 limit = isNegative ? kLargest / 2 + 1 : kLargest;
    if (error != std::errc() || stop != end || number > limit) {
        return std::nullopt;
    }
    return static_cast<UInt32>(isNegative ? 0 - number : number);
}

std::optional<UInt32> ParseFourCharCode(std::string_view text)
{
    const std::optional<UInt32> code = Tools::ParseFourCharCode(text);
    return code && !Tools::FormatFourCharCode(*code).empty() ? code : std::nullopt;
}

} // namespace Host
