// ServerProtocol.h - the names and numbers that the plug-in, its host and its server agree on.
//
// A client sets one of three properties; the plug-in turns each set into messages to a port that
// the server holds under kServerPortName:
//
//     'DGme' enable  ->  'SLLM' with parameter -250, a 32-bit integer
//     'DGml' level   ->  'SLLM' with parameter -249, a level record of 20 bytes
//     'DGdm' state   ->  'OpLM' if non-zero; 'SLLM' with parameter -251, an integer; 'ClLM' if zero
//
// 'OpLM' and 'ClLM' carry no data. The data of 'SLLM' is an XML property list: a dictionary of the
// device ID and the bytes of one set-parameter message.
//
// The first section is all that a client of the audio hardware layer needs, the second all that a
// server needs.
#pragma once

#include <CoreServices/CoreServices.h>

#include <cstddef>
#include <string_view>

/// The vendor's reverse-DNS name. A build with another one installs this header with that one.
#ifndef QX_VENDOR_PREFIX
#define QX_VENDOR_PREFIX "org.qxaudio"
#endif

/// Returns the code that the platform writes as four characters in single quotes.
constexpr UInt32 MakeFourCharCode(const char (&text)[5])
{
    UInt32 code = 0;
    for (std::size_t index = 0; index < 4; ++index) {
        code = code << 8 | static_cast<unsigned char>(text[index]);
    }
    return code;
}

// -------------------------------------------------------------------------------------------------
// Section 1: properties, between a client and the plug-in. They are on the input side. They can be
// set but not read.
// -------------------------------------------------------------------------------------------------

/// One UInt32 on the master channel.
inline constexpr UInt32 kDirectMonitorEnableProperty = MakeFourCharCode("DGme");
/// Two Float32 linear gains, for any channel.
inline constexpr UInt32 kDirectMonitorLevelProperty = MakeFourCharCode("DGml");
/// One UInt32 on the master channel.
inline constexpr UInt32 kDirectMonitorStateProperty = MakeFourCharCode("DGdm");

static_assert(kDirectMonitorEnableProperty == 0x44476D65);
static_assert(kDirectMonitorLevelProperty == 0x44476D6C);
static_assert(kDirectMonitorStateProperty == 0x4447646D);

/// The size of a property's data in bytes.
inline constexpr UInt32 kDirectMonitorEnableSize = 4;
inline constexpr UInt32 kDirectMonitorLevelSize = 8;
inline constexpr UInt32 kDirectMonitorStateSize = 4;

// -------------------------------------------------------------------------------------------------
// Section 2: messages, between the plug-in and the server.
// -------------------------------------------------------------------------------------------------

// The port. Macros, because the platform makes formats and constant strings from literals.

/// The name of the port with a place for the GUID.
#define kServerPortNameFormat QX_VENDOR_PREFIX ".device.%s"
/// What tells the server's port from others of the vendor.
#define kServerPortGUID "{D4625471-DE74-400f-93D2-5E71BB706A64}"
/// The format with the GUID in it: the name that the server registers, the same for all devices.
#define kServerPortName QX_VENDOR_PREFIX ".device." kServerPortGUID

/// Returns whether a prefix may be part of a port name and has no character that the format
/// changes.
constexpr bool IsVendorPrefix(std::string_view prefix)
{
    for (const char character : prefix) {
        const bool isLetter =
            (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
        const bool isDigit = character >= '0' && character <= '9';
        if (!isLetter && !isDigit && character != '.' && character != '-') {
            return false;
        }
    }
    return !prefix.empty();
}

static_assert(IsVendorPrefix(QX_VENDOR_PREFIX), "letters, digits, dots and hyphens only");
static_assert(sizeof(kServerPortName) - 1 <= 127,
              "the vendor prefix is too long: a port name has at most 127 bytes");

// The message IDs.

/// Sent before the parameter message of a non-zero state; no data; the sender waits for a reply.
inline constexpr SInt32 kOpenDirectMonitorMessage = static_cast<SInt32>(MakeFourCharCode("OpLM"));
/// Sent after the parameter message of state 0; no data; the sender waits for a reply.
inline constexpr SInt32 kCloseDirectMonitorMessage = static_cast<SInt32>(MakeFourCharCode("ClLM"));
/// Carries one parameter as an XML property list; the sender waits for no reply.
inline constexpr SInt32 kSetParameterMessage = static_cast<SInt32>(MakeFourCharCode("SLLM"));

static_assert(kOpenDirectMonitorMessage == 0x4F704C4D);
static_assert(kCloseDirectMonitorMessage == 0x436C4C4D);
static_assert(kSetParameterMessage == 0x534C4C4D);

/// How long a sender waits for room in the queue.
inline constexpr double kSendTimeoutSeconds = 1.0;
/// How long a sender waits for a reply.
inline constexpr double kReceiveTimeoutSeconds = 0.001;

// The property list of kSetParameterMessage; macros again, for the platform's constant strings.

/// The device ID's bits as a signed 32-bit integer.
#define kCoreAudioDeviceIDKey "CoreAudioDeviceIDKey"
/// The set-parameter message.
#define kParameterDataKey "ParameterDataKey"

// The set-parameter message. Its three header words are in the byte order of the host that sends;
// the value after them is a serialized QX::Variant, little-endian on every host.
//
//     offset  size    field
//          0     4    length of the whole message, S + 24 for a value of S data bytes
//          4     4    0
//          8     4    parameter ID
//         12  S + 12  the value: length S + 12, 0 and the type as 32-bit words, then S data bytes
//
// The type is 2 for enable and state, whose data is a signed 32-bit integer, and 8 for a level,
// whose data is the level record below.

/// The offset of a field from the start of the message, in bytes.
inline constexpr UInt32 kMessageLengthOffset = 0;
inline constexpr UInt32 kMessageReservedOffset = 4;
inline constexpr UInt32 kMessageParameterOffset = 8;
inline constexpr UInt32 kMessageValueOffset = 12;
/// The size of the value's own header in bytes.
inline constexpr UInt32 kSerializedValueHeaderSize = 12;
/// How much longer a message is than its value's data, in bytes.
inline constexpr UInt32 kMessageOverhead = kMessageValueOffset + kSerializedValueHeaderSize;

/// The parameter ID of a property.
inline constexpr UInt32 kDirectMonitorStateParameter = 0xFFFFFF05;  // -251
inline constexpr UInt32 kDirectMonitorEnableParameter = 0xFFFFFF06; // -250
inline constexpr UInt32 kDirectMonitorLevelParameter = 0xFFFFFF07;  // -249

// The level record: the data of a level's value, without gaps, in the sending host's byte order.
//
//     offset  size    field
//          0     8    first level in decibels, IEEE-754 double
//          8     8    second level in decibels, IEEE-754 double
//         16     4    the property's channel minus 1, unsigned

/// The offset of a field from the start of the record, in bytes.
inline constexpr UInt32 kLevelRecordFirstOffset = 0;
inline constexpr UInt32 kLevelRecordSecondOffset = 8;
inline constexpr UInt32 kLevelRecordChannelOffset = 16;
/// The size of the record in bytes.
inline constexpr UInt32 kLevelRecordSize = 20;

/// The level that stands for silence: a gain of 0 or less.
inline constexpr double kSilenceDecibels = -999.0;
