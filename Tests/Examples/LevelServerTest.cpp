// LevelServerTest.cpp - the example server as a process, with a plug-in in the host as its client.

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"

#include <CoreFoundation/CoreFoundation.h>

#include <csignal>
#include <gtest/gtest.h>

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
        EXPECT_EQ(server.ReadLine(), "not a parameter message");
    }
    server.Signal(SIGINT);
    EXPECT_EQ(server.Wait(), 0);
}

TEST(LevelServer, EndsWhenThePortHasAnotherServer)
{
    ChildProcess first(kServer, {});
    ASSERT_EQ(first.ReadLine(), kReady);

    ChildProcess second(kServer, {});

    EXPECT_EQ(second.Wait(), 1);
    EXPECT_EQ(second.GetErrors(), "The port " kServerPortName " has another server.\n");
}

} // namespace
