// DecodedMessages.h - messages of a device, as the decoder hands them over.
#pragma once

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/Monitor/Messages.h"
#include "Tools/Monitor/MessageDecoder.h"

namespace ToolsTests {

/// Returns the message whose bytes are these hexadecimal digits.
inline Monitor::DecodedMessage MakeMessage(UInt32 device, const char* bytes)
{
    Monitor::DecodedMessage message;
    message.id = kSetParameterMessage;
    message.device = device;
    message.bytes = FromHex(bytes);
    Monitor::DecodeSetParameter(message);
    return message;
}

} // namespace ToolsTests
