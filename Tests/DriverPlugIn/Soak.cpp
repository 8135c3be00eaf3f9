// Soak.cpp - very many property sets while the server comes and goes.
//
//     Soak [SETS [SEED]]    1,000,000 sets and seed 1 unless said otherwise
//
// A seed decides which property of which device is set when, and at which sets the server is killed
// and started again; when the kill takes effect is up to the system. Ends with 0 if every status
// was one of those that the link has, and neither the heap nor the open descriptors have grown.

#include "DriverPlugIn/Support/Heap.h"
#include "DriverPlugIn/Support/ServerProcess.h"

#include "Protocol/ServerProtocol.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <Standin/LiveObjects.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <random>

namespace {

constexpr std::array<AudioDeviceID, 3> kDevices = {1, 258, 0xFFFFFFFE};

// The heap's own caches of free blocks are in use for the C library; this is all that they may
// change, whatever the number of sets.
constexpr long kHeapTolerance = 32768;

/// What must not grow.
struct Footprint
{
    long heapBytes;
    long descriptors;
    long objects;
};

class Soak
{
public:
    explicit Soak(unsigned long seed)
        : mRandom(static_cast<std::mt19937::result_type>(seed))
    {
        OpenAll();
    }

    void Run(unsigned long sets);
    /// Closes every device, ends the server, gives every port back, measures, and opens again.
    Footprint Settle();
    /// Prints the counts; false if a status is not one of the link's.
    bool ReportStatuses() const;

private:
    unsigned long Draw(unsigned long below) { return mRandom() % below; }
    void OpenAll();
    void CloseAll();
    void MoveServer();
    SInt32 SetOne();

    std::mt19937 mRandom;
    std::unique_ptr<ServerProcess> mServer;
    std::map<SInt32, unsigned long> mStatuses;
    unsigned long mServers = 0;
    unsigned long mKills = 0;
    unsigned long mReopenings = 0;
};

void Soak::OpenAll()
{
    for (const AudioDeviceID device : kDevices) {
        AudioDriverPlugInHostInfo hostInfo = {device, 0, 0, nullptr, nullptr};
        if (AudioDriverPlugInOpen(&hostInfo) != 0) {
            std::puts("a device cannot be opened");
            std::exit(1);
        }
    }
}

// The plug-in keeps the ports of its closed devices for good. They are released here, so that any
// other object that is left shows in the counts.
void Soak::CloseAll()
{
    for (const AudioDeviceID device : kDevices) {
        if (AudioDriverPlugInClose(device) != 0) {
            std::puts("a device cannot be closed");
            std::exit(1);
        }
    }
    ReleaseOpenedPorts();
}

void Soak::MoveServer()
{
    if (mServer == nullptr && Draw(400) == 0) {
        mServer = std::make_unique<ServerProcess>(ServerProcess::kSwallows);
        ++mServers;
    } else if (mServer != nullptr && Draw(8000) == 0) {
        mServer->KillSoon();
        ++mKills;
        for (unsigned long late = Draw(50); late > 0; --late) {
            ++mStatuses[SetOne()];
        }
        mServer = nullptr;
    }
    if (Draw(3000) == 0) {
        CloseAll();
        OpenAll();
        ++mReopenings;
    }
}

SInt32 Soak::SetOne()
{
    const AudioDeviceID device = kDevices[Draw(kDevices.size())];
    const auto value = static_cast<UInt32>(mRandom());
    switch (Draw(4)) {
    case 0:
        return AudioDriverPlugInDeviceSetProperty(device, nullptr, 0, 1,
                                                  kDirectMonitorEnableProperty, 4, &value);
    case 1: {
        const UInt32 state = value & 1;
        return AudioDriverPlugInDeviceSetProperty(device, nullptr, 0, 1,
                                                  kDirectMonitorStateProperty, 4, &state);
    }
    default: {
        const Float32 gains[2] = {static_cast<Float32>(value), 0.5F};
        return AudioDriverPlugInDeviceSetProperty(device, nullptr, value % 8, 1,
                                                  kDirectMonitorLevelProperty, 8, gains);
    }
    }
}

void Soak::Run(unsigned long sets)
{
    for (unsigned long set = 0; set < sets; ++set) {
        MoveServer();
        ++mStatuses[SetOne()];
    }
}

Footprint Soak::Settle()
{
    CloseAll();
    mServer = nullptr;
    // The stand-in keeps the memory of the objects destroyed last; these are always the same ones.
    for (int object = 0; object < 100; ++object) {
        CFRelease(CFDataCreate(nullptr, nullptr, 0));
    }
    // The iterator has a descriptor of its own, the same one each time.
    const auto descriptors = std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                           std::filesystem::directory_iterator());
    const Footprint footprint = {static_cast<long>(CountHeapBytes()),
                                 static_cast<long>(descriptors),
                                 static_cast<long>(StandinGetTotalLiveObjectCount())};
    OpenAll();
    return footprint;
}

bool Soak::ReportStatuses() const
{
    unsigned long sets = 0;
    bool isGood = true;
    for (const auto& [status, count] : mStatuses) {
        const bool isAllowed =
            status == kCFMessagePortSuccess || status == kCFMessagePortSendTimeout ||
            status == kCFMessagePortIsInvalid || status == kCFMessagePortTransportError;
        std::printf("status %ld: %lu sets%s\n", static_cast<long>(status), count,
                    isAllowed ? "" : "  NOT ALLOWED");
        isGood = isGood && isAllowed;
        sets += count;
    }
    std::printf("%lu sets; %lu servers started, %lu killed; %lu times all devices reopened\n", sets,
                mServers, mKills, mReopenings);
    return isGood;
}

bool ReportGrowth(const Footprint& before, const Footprint& after)
{
    const long heapBytes = after.heapBytes - before.heapBytes;
    const long descriptors = after.descriptors - before.descriptors;
    const long objects = after.objects - before.objects;
    std::printf("growth: heap %ld bytes, descriptors %ld, platform objects %ld\n", heapBytes,
                descriptors, objects);
    return heapBytes <= kHeapTolerance && descriptors == 0 && objects == 0;
}

} // namespace

int main(int count, char** values)
{
    const unsigned long sets = count > 1 ? std::strtoul(values[1], nullptr, 10) : 1000000;
    const unsigned long seed = count > 2 ? std::strtoul(values[2], nullptr, 10) : 1;
    Soak soak(seed);
    // The first sets fill the heap's caches and make what is made once.
    soak.Run(10000);
    const Footprint before = soak.Settle();
    soak.Run(sets);
    const Footprint after = soak.Settle();
    const bool areStatusesGood = soak.ReportStatuses();
    const bool isSteady = ReportGrowth(before, after);
    std::printf("soak: %s (seed %lu)\n", areStatusesGood && isSteady ? "passed" : "FAILED", seed);
    return areStatusesGood && isSteady ? 0 : 1;
}
