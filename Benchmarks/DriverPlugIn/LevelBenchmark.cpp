// LevelBenchmark.cpp - what does a level cost before it is sent, and how much more does the way to
// the server cost than a bare socket with the same bytes?
//
// "Build" makes the level record's variant, its set-parameter message and its XML document, each
// from the step before; libplist writes the same document, and "memcpy" copies it, the limit.
//
// The rest sends to a process that waits for messages, each time with the sender and the server on
// one core and on two. "Set" is one level at a time, to a server that is idle: until the call
// returns, and until the server has the message. "Burst" is 64 documents in a row until the server
// has the last one, for each. "Request" waits for a reply of no bytes. Each is measured beside
// a socket of the same kind with the same bytes, and a process that only receives and answers. The
// "floor" of a set builds what a set builds, and sends it through such a socket.

#include "DriverPlugIn/DeviceMessageSerializer.h"
#include "Protocol/ServerProtocol.h"

#include <CoreAudio/AudioDriverPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>

#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include <sched.h>
#include <sys/mman.h>
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

char* WriteByLibplist(QX::LIBuffer& message, std::uint32_t& size)
{
    plist_t dictionary = plist_new_dict();
    plist_dict_set_item(dictionary, kCoreAudioDeviceIDKey, plist_new_uint(kDevice));
    plist_dict_set_item(
        dictionary, kParameterDataKey,
        plist_new_data(static_cast<const char*>(message.GetRawPtr()), message.GetSizeBytes()));
    char* document = nullptr;
    plist_to_xml(dictionary, &document, &size);
    plist_free(dictionary);
    return document;
}

void BuildDocumentByLibplist(benchmark::State& state)
{
    QX::Variant value;
    FillValue(value);
    const auto message = BuildMessage(value);
    for (auto _ : state) {
        std::uint32_t size = 0;
        char* const document = WriteByLibplist(*message, size);
        benchmark::DoNotOptimize(document);
        std::free(document);
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

/// What the sender and the server share.
struct Shared
{
    std::atomic<UInt32> mReady;
    std::atomic<UInt32> mReceived;
};

Shared& GetShared()
{
    static void* const sMemory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    Require(sMemory != MAP_FAILED, "no shared memory");
    return *static_cast<Shared*>(sMemory);
}

void UseCore(std::size_t core)
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    Require(sched_setaffinity(0, sizeof(cores), &cores) == 0, "this machine has one core only");
}

void WaitUntil(const std::atomic<UInt32>& count, UInt32 value)
{
    while (count.load(std::memory_order_acquire) != value) {
        sched_yield();
    }
}

/// Lets the server get to where it waits.
void LetServerRest()
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::microseconds(20);
    while (Clock::now() < end) {
        sched_yield();
    }
}

enum Ending
{
    kReturned,
    kDelivered
};

/// Sends `messages` at a time to a server at rest, and counts the time of each until the last call
/// returns or its message is delivered.
template <class Serve, class Send>
void Measure(benchmark::State& state, int messages, Ending ending, Serve serve, Send send)
{
    using Clock = std::chrono::steady_clock;
    Shared& shared = GetShared();
    shared.mReady = 0;
    shared.mReceived = 0;
    const auto serverCore = static_cast<std::size_t>(state.range(0)) - 1;
    const Child server([&] {
        UseCore(serverCore);
        serve();
    });
    UseCore(0);
    WaitUntil(shared.mReady, 1);
    UInt32 sent = 0;
    for (auto _ : state) {
        LetServerRest();
        const Clock::time_point start = Clock::now();
        for (int message = 0; message < messages; ++message) {
            send();
        }
        sent += static_cast<UInt32>(messages);
        Clock::time_point end = Clock::now();
        WaitUntil(shared.mReceived, sent);
        end = ending == kDelivered ? Clock::now() : end;
        state.SetIterationTime(std::chrono::duration<double>(end - start).count() / messages);
    }
}

/// Holds the server's port and takes messages until it is killed.
void ServePort()
{
    const auto count = [](CFMessagePortRef, SInt32, CFDataRef, void*) -> CFDataRef {
        GetShared().mReceived.fetch_add(1, std::memory_order_release);
        return nullptr;
    };
    const auto port =
        CFMessagePortCreateLocal(nullptr, CFSTR(kServerPortName), count, nullptr, nullptr);
    Require(port != nullptr, "another process holds the server's port; stop it first");
    CFRunLoopAddSource(CFRunLoopGetCurrent(), CFMessagePortCreateRunLoopSource(nullptr, port, 0),
                       kCFRunLoopDefaultMode);
    GetShared().mReady = 1;
    for (;;) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1.0e10, false);
    }
}

void SetLevel(benchmark::State& state, Ending ending)
{
    AudioDriverPlugInHostInfo hostInfo = {kDevice, 0, 0, nullptr, nullptr};
    AudioDriverPlugInOpen(&hostInfo);
    OSStatus failures = 0;
    Measure(state, 1, ending, ServePort, [&failures] {
        failures |= AudioDriverPlugInDeviceSetProperty(
            kDevice, nullptr, 1, 1, kDirectMonitorLevelProperty, sizeof(kGains), kGains);
    });
    Require(failures == 0, "a set failed");
    AudioDriverPlugInClose(kDevice);
}

/// Sends documents to the port, and asks for replies if there is a mode.
void SendToPort(benchmark::State& state, int messages, CFStringRef replyMode)
{
    const std::string document(kDocumentSize, 'x');
    const auto data = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(document.data()),
                                   static_cast<CFIndex>(document.size()));
    CFMessagePortRef port = nullptr;
    SInt32 failures = 0;
    Measure(state, messages, kDelivered, ServePort, [&] {
        if (port == nullptr) {
            port = CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName));
        }
        failures |=
            CFMessagePortSendRequest(port, kSetParameterMessage, data, 1, 1, replyMode, nullptr);
    });
    Require(failures == 0, "a message was not sent");
    CFRelease(port);
    CFRelease(data);
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

void SendPacket(int socket, const void* document, std::size_t size)
{
    char header[kFrameHeaderSize] = "";
    iovec parts[2] = {{header, kFrameHeaderSize}, {const_cast<void*>(document), size}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    Require(sendmsg(socket, &message, MSG_NOSIGNAL) ==
                static_cast<ssize_t>(kFrameHeaderSize + size),
            "a packet was not sent");
}

void ServeSocket(int socket, bool replies)
{
    char packet[1024];
    GetShared().mReady = 1;
    while (recv(socket, packet, sizeof(packet), 0) > 0) {
        GetShared().mReceived.fetch_add(1, std::memory_order_release);
        if (replies) {
            Require(send(socket, packet, kFrameHeaderSize, 0) > 0, "no reply");
        }
    }
}

void SendBare(benchmark::State& state, int messages, Ending ending, bool replies)
{
    const SocketPair sockets;
    std::string document(kDocumentSize, 'x');
    char reply[kFrameHeaderSize];
    Measure(
        state, messages, ending, [&] { ServeSocket(sockets.mEnds[1], replies); },
        [&] {
            SendPacket(sockets.mEnds[0], document.data(), document.size());
            if (replies) {
                Require(recv(sockets.mEnds[0], reply, sizeof(reply), 0) > 0, "no reply");
            }
        });
}

void SendBareBuilt(benchmark::State& state, Ending ending)
{
    const SocketPair sockets;
    Measure(
        state, 1, ending, [&] { ServeSocket(sockets.mEnds[1], false); },
        [&] {
            QX::Variant value;
            FillValue(value);
            const auto message = BuildMessage(value);
            const CFDataRef document = CreateDocument(*message);
            SendPacket(sockets.mEnds[0], CFDataGetBytePtr(document),
                       static_cast<std::size_t>(CFDataGetLength(document)));
            CFRelease(document);
        });
}

void SendBareByLibplist(benchmark::State& state, Ending ending)
{
    const SocketPair sockets;
    QX::Variant value;
    FillValue(value);
    const auto message = BuildMessage(value);
    Measure(
        state, 1, ending, [&] { ServeSocket(sockets.mEnds[1], false); },
        [&] {
            std::uint32_t size = 0;
            char* const document = WriteByLibplist(*message, size);
            SendPacket(sockets.mEnds[0], document, size);
            std::free(document);
        });
}

BENCHMARK(BuildValueOnly)->Name("Build/value");
BENCHMARK(BuildMessageOnly)->Name("Build/message");
BENCHMARK(BuildDocumentOnly)->Name("Build/document");
BENCHMARK(BuildDocumentByLibplist)->Name("Build/document/libplist");
BENCHMARK(BuildByMemcpy)->Name("Build/document/memcpy");
/// Once on one core and once on two.
void Register(const char* name, void (*run)(benchmark::State&))
{
    benchmark::RegisterBenchmark(name, run)->ArgName("cores")->Arg(1)->Arg(2)->UseManualTime();
}

const int gRegistered = [] {
    Register("Set/returns", [](benchmark::State& state) { SetLevel(state, kReturned); });
    Register("Set/returns/bare socket",
             [](benchmark::State& state) { SendBare(state, 1, kReturned, false); });
    Register("Set/returns/floor", [](benchmark::State& state) { SendBareBuilt(state, kReturned); });
    Register("Set/returns/libplist and bare socket",
             [](benchmark::State& state) { SendBareByLibplist(state, kReturned); });
    Register("Set/delivered", [](benchmark::State& state) { SetLevel(state, kDelivered); });
    Register("Set/delivered/bare socket",
             [](benchmark::State& state) { SendBare(state, 1, kDelivered, false); });
    Register("Set/delivered/floor",
             [](benchmark::State& state) { SendBareBuilt(state, kDelivered); });
    Register("Set/delivered/libplist and bare socket",
             [](benchmark::State& state) { SendBareByLibplist(state, kDelivered); });
    Register("Burst", [](benchmark::State& state) { SendToPort(state, 64, nullptr); });
    Register("Burst/bare socket",
             [](benchmark::State& state) { SendBare(state, 64, kDelivered, false); });
    Register("Request",
             [](benchmark::State& state) { SendToPort(state, 1, kCFRunLoopDefaultMode); });
    Register("Request/bare socket",
             [](benchmark::State& state) { SendBare(state, 1, kDelivered, true); });
    return 0;
}();

} // namespace

BENCHMARK_MAIN();
