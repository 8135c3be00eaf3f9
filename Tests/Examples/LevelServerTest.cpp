// LevelServerTest.cpp - the example server as a process, with a plug-in in the host as its client.

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"

#include <CoreFoundation/CoreFoundation.h>

#include <bit>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::kHostProgram;

constexpr const char* kServer = QX_LEVEL_SERVER_PROGRAM;
constexpr const char* kReady = "waiting at " kServerPortName;

/// Sends bytes to the server without waiting for a reply.
SInt32 Send(SInt32 id, const std::string& bytes)
{
    constexpr double kPatienceSeconds = 30;
    const CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName));
    if (port == nullptr) {
        return kCFMessagePortIsInvalid;
    }
    const CFDataRef data = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                        static_cast<CFIndex>(bytes.size()));
    const SInt32 status =
        CFMessagePortSendRequest(port, id, data, kPatienceSeconds, 0, nullptr, nullptr);
    CFRelease(data);
    CFRelease(port);
    return status;
}

TEST(LevelServer, PrintsEveryMessageOfThePlugIn)
{
    ChildProcess server(kServer, {});
    ASSERT_EQ(server.ReadLine(), kReady);

    ChildProcess host(kHostProgram, {"run", "-"},
                      "open 258\n"
                      "open 0xFFFFFFFE\n"
                      "set enable 0xFFFFFFFF device=258\n"
                      "set state 2\n"
                      "set level 1.0 0.5 channel=1\n"
                      "set level 0 10.0 channel=32 device=258\n"
                      "set state off\n"
                      "close 258\n"
                      "close\n");

    EXPECT_EQ(host.Wait(), 0);
    EXPECT_EQ(server.ReadLine(), "device 258, parameter -250: 4294967295");
    EXPECT_EQ(server.ReadLine(), "open");
    EXPECT_EQ(server.ReadLine(), "device 4294967294, parameter -251: 2");
    EXPECT_EQ(server.ReadLine(), "device 4294967294, parameter -249: channel 1, 0.00 dB, -6.02 dB");
    EXPECT_EQ(server.ReadLine(), "device 258, parameter -249: channel 32, -999.00 dB, 20.00 dB");
    EXPECT_EQ(server.ReadLine(), "device 4294967294, parameter -251: 0");
    EXPECT_EQ(server.ReadLine(), "close");
    server.Signal(SIGTERM);
    EXPECT_EQ(server.ReadLine(), std::nullopt);
    EXPECT_EQ(server.Wait(), 0);
    EXPECT_EQ(server.GetErrors(), "");
}

TEST(LevelServer, SaysWhatItCannotRead)
{
    ChildProcess server(kServer, {});
    ASSERT_EQ(server.ReadLine(), kReady);

    EXPECT_EQ(Send(1, ""), 0);
    EXPECT_EQ(server.ReadLine(), "not a message of the protocol");
    EXPECT_EQ(Send(kSetParameterMessage, "<plist>\n<dict>"), 0);
    EXPECT_EQ(server.ReadLine(),
              "not a property list: line 2: the document ends where a tag is expected");

    const std::string device = "<key>CoreAudioDeviceIDKey</key><integer>258</integer>";
    for (const std::string& list : {
             std::string("<data/>"),
             "<dict>" + device + "</dict>",
             "<dict>" + device + "<key>ParameterDataKey</key><integer>1</integer></dict>",
             // Shorter than its header, and with a length word that is not its length.
             "<dict>" + device + "<key>ParameterDataKey</key><data>AAAA</data></dict>",
             "<dict>" + device + "<key>ParameterDataKey</key><data>" + std::string(40, 'A') +
                 "</data></dict>",
         }) {
        SCOPED_TRACE(list);
        EXPECT_EQ(Send(kSetParameterMessage, list), 0);
        EXPECT_EQ(server.ReadLine(), "not a parameter message, or an unknown parameter");
    }
    server.Signal(SIGINT);
    EXPECT_EQ(server.Wait(), 0);
}

/// A document for device 258 whose message has the words as this machine writes them, and then
/// `zeros` bytes.
std::string MakeDocument(const std::vector<UInt32>& words, std::size_t zeros)
{
    std::vector<UInt8> message(words.size() * 4 + zeros);
    std::memcpy(message.data(), words.data(), words.size() * 4);
    const CFDataRef data =
        CFDataCreate(nullptr, message.data(), static_cast<CFIndex>(message.size()));
    const SInt32 device = 258;
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, &device);
    const CFMutableDictionaryRef list = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    CFDictionaryAddValue(list, CFSTR(kCoreAudioDeviceIDKey), number);
    CFDictionaryAddValue(list, CFSTR(kParameterDataKey), data);
    const CFDataRef document = CFPropertyListCreateXMLData(nullptr, list);
    const std::string text(reinterpret_cast<const char*>(CFDataGetBytePtr(document)),
                           static_cast<std::size_t>(CFDataGetLength(document)));
    CFRelease(document);
    CFRelease(list);
    CFRelease(number);
    CFRelease(data);
    return text;
}

/// The word as a little-endian machine would store it, on this machine.
UInt32 Little(UInt32 word)
{
    return std::endian::native == std::endian::little ? word : __builtin_bswap32(word);
}

TEST(LevelServer, PrintsNoParameterWithAWrongLengthOrTypeOrName)
{
    const UInt32 enable = 0xFFFFFF06;
    const UInt32 level = 0xFFFFFF07;
    ChildProcess server(kServer, {});
    ASSERT_EQ(server.ReadLine(), kReady);

    // Right ones first.
    EXPECT_EQ(Send(kSetParameterMessage,
                   MakeDocument({28, 0, enable, Little(16), 0, Little(2), Little(7)}, 0)),
              0);
    EXPECT_EQ(server.ReadLine(), "device 258, parameter -250: 7");
    EXPECT_EQ(
        Send(kSetParameterMessage, MakeDocument({44, 0, level, Little(32), 0, Little(8)}, 20)), 0);
    EXPECT_EQ(server.ReadLine(), "device 258, parameter -249: channel 1, 0.00 dB, 0.00 dB");
    for (const std::string& wrong : {
             MakeDocument({27, 0, enable, Little(16), 0, Little(2), 0}, 0),
             MakeDocument({28, 0, enable, Little(99), 0, Little(2), 0}, 0),
             MakeDocument({28, 0, enable, Little(16), 0, Little(8), 0}, 0),
             MakeDocument({28, 0, 0xFFFFFF01, Little(16), 0, Little(2), 0}, 0),
             MakeDocument({44, 0, enable, Little(32), 0, Little(8)}, 20),
             MakeDocument({44, 0, level, Little(32), 0, Little(2)}, 20),
             MakeDocument({28, 0, level, Little(16), 0, Little(8), 0}, 0),
         }) {
        SCOPED_TRACE(wrong);
        EXPECT_EQ(Send(kSetParameterMessage, wrong), 0);
        EXPECT_EQ(server.ReadLine(), "not a parameter message, or an unknown parameter");
    }
    server.Signal(SIGINT);
    EXPECT_EQ(server.Wait(), 0);
}

TEST(LevelServer, PrintsWhatWasSentBeforeItsEnd)
{
    ChildProcess server(kServer, {});
    ASSERT_EQ(server.ReadLine(), kReady);
    server.Signal(SIGSTOP);
    for (int message = 0; message < 5; ++message) {
        EXPECT_EQ(Send(kOpenDirectMonitorMessage, ""), 0);
    }
    server.Signal(SIGTERM);
    server.Signal(SIGCONT);

    for (int message = 0; message < 5; ++message) {
        EXPECT_EQ(server.ReadLine(), "open");
    }
    EXPECT_EQ(server.ReadLine(), std::nullopt);
    EXPECT_EQ(server.Wait(), 0);
}

TEST(LevelServer, EndsWhenThePortHasAnotherServer)
{
    ChildProcess first(kServer, {});
    ASSERT_EQ(first.ReadLine(), kReady);

    ChildProcess second(kServer, {});

    EXPECT_EQ(second.Wait(), 1);
    EXPECT_EQ(second.GetErrors(), "The port " kServerPortName
                                  " has another server, or cannot be made; qxmon says which.\n");
}

} // namespace
