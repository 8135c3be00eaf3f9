// Messages.h - the bytes and documents that the tests of the tools start from.
#pragma once

#include "Support/Hex.h"

#include <string>

namespace ToolsTests {

using TestSupport::FromHex;

/// State 1 as a big-endian and as a little-endian host sends it.
inline constexpr const char* kBigEndianState = "0000001C 00000000 FFFFFF05 "
                                               "10000000 00000000 02000000 01000000";
inline constexpr const char* kLittleEndianState = "1C000000 00000000 05FFFFFF "
                                                  "10000000 00000000 02000000 01000000";

/// Gains 1.0 and 0.5 on channel 1, likewise.
inline constexpr const char* kBigEndianLevel =
    "0000002C 00000000 FFFFFF07 20000000 00000000 08000000 "
    "0000000000000000 C018151824C7587F 00000000";
inline constexpr const char* kLittleEndianLevel =
    "2C000000 00000000 07FFFFFF 20000000 00000000 08000000 "
    "0000000000000000 7F58C724181518C0 00000000";

/// The base64 text of kBigEndianState and kBigEndianLevel.
inline constexpr const char* kBigEndianStateText = "AAAAHAAAAAD///8FEAAAAAAAAAACAAAAAQAAAA==";
inline constexpr const char* kBigEndianLevelText =
    "AAAALAAAAAD///8HIAAAAAAAAAAIAAAAAAAAAAAAAADAGBUYJMdYfwAAAAA=";

/// What is in front of the dictionary in every document; 159 bytes.
inline constexpr const char* kDocumentStart =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

/// A document as the platform writes it.
inline std::string MakeDocument(const std::string& device, const std::string& base64)
{
    return kDocumentStart + std::string("<dict>\n\t<key>CoreAudioDeviceIDKey</key>\n\t<integer>") +
           device + "</integer>\n\t<key>ParameterDataKey</key>\n\t<data>\n\t" + base64 +
           "\n\t</data>\n</dict>\n</plist>\n";
}

} // namespace ToolsTests
