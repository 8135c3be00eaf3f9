// ProtocolDocumentTest.cpp - the capture in Docs/Protocol.md is what a server receives.

#include "DriverPlugIn/Support/Bytes.h"
#include "DriverPlugIn/Support/ServerProcess.h"

#include "Protocol/ServerProtocol.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

std::string ReadProtocolDocument()
{
    std::ifstream file(QX_PROTOCOL_DOCUMENT);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Returns one line for each 16 bytes: the offset, and four words in hexadecimal digits.
std::string Dump(const std::string& bytes)
{
    std::string lines;
    for (std::size_t offset = 0; offset < bytes.size(); offset += 16) {
        char place[32];
        std::snprintf(place, sizeof(place), "%6zu  ", offset);
        lines += place + ToHex(bytes.substr(offset, 16)) + "\n";
    }
    return lines;
}

/// Returns the message's ID, its number of bytes, and what the document in it carries.
std::string Describe(const ReceivedMessage& message)
{
    std::string name;
    for (int shift = 24; shift >= 0; shift -= 8) {
        name += static_cast<char>(message.id >> shift & 0xFF);
    }
    const std::string line = "'" + name + "' " + std::to_string(message.data.size()) + " bytes";
    if (message.data.empty()) {
        return line + "\n";
    }
    const Document document = TakeApart(message.data);
    return line + ", device " + document.deviceID + "\n" + Dump(document.message);
}

void SetInteger(UInt32 property, UInt32 value)
{
    EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(258, nullptr, 0, 1, property, 4, &value), 0);
}

void SetLevel(UInt32 channel, Float32 first, Float32 second)
{
    const Float32 gains[2] = {first, second};
    EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(258, nullptr, channel, 1,
                                                 kDirectMonitorLevelProperty, 8, gains),
              0);
}

TEST(ProtocolDocument, ShowsWhatAServerReceives)
{
    const std::string text = ReadProtocolDocument();
    ServerProcess server(ServerProcess::kServes);
    AudioDriverPlugInHostInfo hostInfo = {258, 0, 0, nullptr, nullptr};
    ASSERT_EQ(AudioDriverPlugInOpen(&hostInfo), 0);

    SetInteger(kDirectMonitorEnableProperty, 1);
    SetInteger(kDirectMonitorStateProperty, 1);
    SetLevel(2, 1.0F, 0.5F);
    SetInteger(kDirectMonitorStateProperty, 0);

    const ReceivedMessage enable = server.Receive();
    std::string capture = Describe(enable);
    for (int message = 2; message <= 6; ++message) {
        capture += Describe(server.Receive());
    }
    EXPECT_NE(text.find("```text\n" + capture + "```\n"), text.npos) << capture;
    if (!kIsBigEndian) {
        EXPECT_NE(text.find("```xml\n" + enable.data + "```\n"), text.npos) << enable.data;
    }
    EXPECT_EQ(AudioDriverPlugInClose(258), 0);
    ReleaseOpenedPorts();
}

TEST(ProtocolDocument, NamesThePort)
{
    EXPECT_NE(ReadProtocolDocument().find("\n    org.qxaudio.device." kServerPortGUID "\n"),
              std::string::npos);
}

} // namespace
