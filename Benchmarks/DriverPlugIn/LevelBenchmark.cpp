// LevelBenchmark.cpp - what does a level cost before it is sent, and how close is the whole set to
// a bare send of the same bytes?
//
// "Build" makes the level record's variant, its set-parameter message and its XML document, each
// from the step before; libplist writes the same document, and "memcpy" copies it, the limit. "Set"
// sets a level through the entry point while another process drains the server's port; its limit is
// sendmsg of one packet of the same bytes (document and frame header) on the same kind of socket,
// drained by another process. A port takes five messages that are not read yet; "sendmsg, five
// ahead" waits for the drain in the same way.

#include "DriverPlugIn/DeviceMessageSerializer.h"
#include "Protocol/ServerProtocol.h"

#include <CoreAudio/AudioDriverPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>

#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr AudioDeviceID kDevice = 258;
constexpr Float32 kGains[2] = {1.0F, 0.5F};
constexpr std::size_t kFrameHeaderSize = 20;
constexpr std::size_t kDocumentSize = 353;

void Require(bool holds, const char* what)
{
    if (!holds) {
        std::cerr << "LevelBenchmark: " << what << '\n';
        std::exit(1);
    }
}

void FillValue(QX::Variant& value)
{
    unsigned char record[kLevelRecordSize];
    const double first = 20.0 * std::log10(static_cast<double>(kGains[0]));
    const double second = 20.0 * std::log10(static_cast<double>(kGains[1]));
    const UInt32 channelIndex = 0;
    std::memcpy(record + kLevelRecordFirstOffset, &first, sizeof(first));
    std::memcpy(record + kLevelRecordSecondOffset, &second, sizeof(second));
    std::memcpy(record + kLevelRecordChannelOffset, &channelIndex, sizeof(channelIndex));
    value.SetBuffer(record, sizeof(record));
}

QX::RCPtr<QX::LIBuffer> BuildMessage(const QX::Variant& value)
{
    auto message = QX::LByteBuffer::Create(0, 0, true);
    DeviceMessageSerializer::CreateSetParamMessage(kDirectMonitorLevelParameter, value, message);
    return message;
}

CFDataRef CreateDocument(QX::LIBuffer& message)
{
    const auto dictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    const auto number = CFNumberCreate(nullptr, kCFNumberSInt32Type, &kDevice);
    const auto data = CFDataCreate(nullptr, static_cast<const UInt8*>(message.GetRawPtr()),
                                   static_cast<CFIndex>(message.GetSizeBytes()));
    CFDictionaryAddValue(dictionary, CFSTR(kCoreAudioDeviceIDKey), number);
    CFDictionaryAddValue(dictionary, CFSTR(kParameterDataKey), data);
    const auto document = CFPropertyListCreateXMLData(nullptr, dictionary);
    CFRelease(data);
    CFRelease(number);
    CFRelease(dictionary);
    return document;
}

void BuildValueOnly(benchmark::State& state)
{
    for (auto _ : state) {
        QX::Variant value;
        FillValue(value);
        benchmark::DoNotOptimize(value);
    }
}

void BuildMessageOnly(benchmark::State& state)
{
    QX::Variant value;
    FillValue(value);
    for (auto _ : state) {
        benchmark::DoNotOptimize(BuildMessage(value)->GetRawPtr());
    }
}

void BuildDocumentOnly(benchmark::State& state)
{
    QX::Variant value;
    FillValue(value);
    const auto message = BuildMessage(value);
    for (auto _ : state) {
        const CFDataRef document = CreateDocument(*message);
        benchmark::DoNotOptimize(document);
        CFRelease(document);
    }
}

void BuildDocumentByLibplist(benchmark::State& state)
{
    QX::Variant value;
    FillValue(value);
    const auto message = BuildMessage(value);
    for (auto _ : state) {
        plist_t dictionary = plist_new_dict();
        plist_dict_set_item(dictionary, kCoreAudioDeviceIDKey, plist_new_uint(kDevice));
        plist_dict_set_item(dictionary, kParameterDataKey,
                            plist_new_data(static_cast<const char*>(message->GetRawPtr()),
                                           message->GetSizeBytes()));
        char* document = nullptr;
        std::uint32_t size = 0;
        plist_to_xml(dictionary, &document, &size);
        benchmark::DoNotOptimize(document);
        std::free(document);
        plist_free(dictionary);
    }
}

void BuildByMemcpy(benchmark::State& state)
{
    const std::string document(kDocumentSize, 'x');
    char copy[kDocumentSize];
    for (auto _ : state) {
        std::memcpy(copy, document.data(), kDocumentSize);
        benchmark::DoNotOptimize(copy);
    }
}

/// A child process that runs until this object goes.
class Child
{
public:
    template <class Work>
    explicit Child(Work work)
        : mProcess(fork())
    {
        Require(mProcess >= 0, "no process for the drain");
        if (mProcess == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            work();
            _exit(0);
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
    }

private:
    pid_t mProcess;
};

/// Holds the server's port, tells whether it could, and takes messages for ever.
void DrainPort(int report)
{
    const auto ignore = [](CFMessagePortRef, SInt32, CFDataRef, void*) -> CFDataRef {
        return nullptr;
    };
    CFMessagePortContext context = {0, nullptr, nullptr, nullptr, nullptr};
    Boolean isExisting = 0;
    const auto port =
        CFMessagePortCreateLocal(nullptr, CFSTR(kServerPortName), ignore, &context, &isExisting);
    const char isHeld = port != nullptr ? 1 : 0;
    if (write(report, &isHeld, 1) != 1 || port == nullptr) {
        return;
    }
    CFRunLoopAddSource(CFRunLoopGetCurrent(), CFMessagePortCreateRunLoopSource(nullptr, port, 0),
                       kCFRunLoopDefaultMode);
    for (;;) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1.0e6, false);
    }
}

void SetLevel(benchmark::State& state)
{
    int report[2];
    Require(pipe(report) == 0, "no pipe");
    const Child drain([&] { DrainPort(report[1]); });
    char isHeld = 0;
    Require(read(report[0], &isHeld, 1) == 1 && isHeld == 1,
            "another process holds the server's port; stop it first");
    AudioDriverPlugInHostInfo hostInfo = {kDevice, 0, 0, nullptr, nullptr};
    AudioDriverPlugInOpen(&hostInfo);
    OSStatus failures = 0;
    for (auto _ : state) {
        failures |= AudioDriverPlugInDeviceSetProperty(
            kDevice, nullptr, 1, 1, kDirectMonitorLevelProperty, sizeof(kGains), kGains);
    }
    Require(failures == 0, "a set failed");
    AudioDriverPlugInClose(kDevice);
    close(report[0]);
    close(report[1]);
}

/// Two connected sockets of the kind that ports use.
struct SocketPair
{
    SocketPair() { Require(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, mEnds) == 0, "no sockets"); }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;
    ~SocketPair()
    {
        close(mEnds[0]);
        close(mEnds[1]);
    }

    int mEnds[2];
};

void SendPacket(int socket, std::string& packet)
{
    iovec parts[2] = {{packet.data(), kFrameHeaderSize},
                      {packet.data() + kFrameHeaderSize, packet.size() - kFrameHeaderSize}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    Require(sendmsg(socket, &message, MSG_NOSIGNAL) == static_cast<ssize_t>(packet.size()),
            "a packet was not sent");
}

void SendByMsg(benchmark::State& state)
{
    const SocketPair sockets;
    const Child drain([&] {
        char packet[1024];
        while (recv(sockets.mEnds[1], packet, sizeof(packet), 0) > 0) {
        }
    });
    std::string packet(kFrameHeaderSize + kDocumentSize, 'x');
    for (auto _ : state) {
        SendPacket(sockets.mEnds[0], packet);
    }
}

void SendByMsgFiveAhead(benchmark::State& state)
{
    const SocketPair sockets;
    const Child drain([&] {
        char packet[1024];
        while (recv(sockets.mEnds[1], packet, sizeof(packet), 0) > 0 &&
               send(sockets.mEnds[1], packet, kFrameHeaderSize, 0) > 0) {
        }
    });
    std::string packet(kFrameHeaderSize + kDocumentSize, 'x');
    char acknowledgement[kFrameHeaderSize];
    int ahead = 0;
    for (auto _ : state) {
        while (recv(sockets.mEnds[0], acknowledgement, sizeof(acknowledgement),
                    ahead < 5 ? MSG_DONTWAIT : 0) > 0) {
            --ahead;
        }
        SendPacket(sockets.mEnds[0], packet);
        ++ahead;
    }
}

BENCHMARK(BuildValueOnly)->Name("Build/value");
BENCHMARK(BuildMessageOnly)->Name("Build/message");
BENCHMARK(BuildDocumentOnly)->Name("Build/document");
BENCHMARK(BuildDocumentByLibplist)->Name("Build/document/libplist");
BENCHMARK(BuildByMemcpy)->Name("Build/document/memcpy");
BENCHMARK(SetLevel)->Name("Set/level")->UseRealTime();
BENCHMARK(SendByMsg)->Name("Set/sendmsg")->UseRealTime();
BENCHMARK(SendByMsgFiveAhead)->Name("Set/sendmsg, five ahead")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
