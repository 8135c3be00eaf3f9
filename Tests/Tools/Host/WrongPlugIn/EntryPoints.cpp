// EntryPoints.cpp - a bundle that keeps every rule but the one that its fault is about.
//
// Each fault shows itself in one situation only, so that exactly one check can see it.

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/Host/WrongPlugIn/Fault.h"
#include "Tests/Tools/Host/WrongPlugIn/Server.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

constexpr OSStatus kWhat = kAudioHardwareUnspecifiedError;
constexpr OSStatus kSize = kAudioHardwareBadPropertySizeError;
constexpr OSStatus kWho = kAudioHardwareUnknownPropertyError;
constexpr OSStatus kUnsupported = kAudioHardwareUnsupportedOperationError;

constexpr int kMostDevices = 128;
Device gDevices[kMostDevices];
AudioDriverPlugInDevicePropertyChangedProc gCallback;
int gOpens;
std::atomic<int> gSets;
/// Seen from outside, or the compiler would leave the allocation out.
void* volatile gLost;

int GetThread()
{
    return static_cast<int>(syscall(SYS_gettid));
}

Device* Find(UInt32 id)
{
    for (Device& device : gDevices) {
        if (device.isOpen && device.id == id) {
            return &device;
        }
    }
    return nullptr;
}

int CountOpen()
{
    int count = 0;
    for (const Device& device : gDevices) {
        count += device.isOpen ? 1 : 0;
    }
    return count;
}

UInt32 GetSize(UInt32 selector)
{
    switch (selector) {
    case kDirectMonitorEnableProperty:
    case kDirectMonitorStateProperty:
        return 4;
    case kDirectMonitorLevelProperty:
        return 8;
    default:
        return 0;
    }
}

OSStatus Add(UInt32 id)
{
    for (Device& device : gDevices) {
        if (!device.isOpen) {
            const bool wasSet = device.hasSet;
            const bool isReopened = device.id == id && gOpens > 0;
            if (isReopened && !wasSet && HasFault("reopen")) {
                return kWhat;
            }
            device = Device{};
            device.id = id;
            device.isOpen = true;
            device.openingThread = GetThread();
            ++gOpens;
            return 0;
        }
    }
    return kWhat;
}

/// What the bundle does when it is loaded and unloaded.
struct Lifetime
{
    Lifetime()
    {
        if (HasFault("rounds-of-loading")) {
            eventfd(0, EFD_CLOEXEC);
        }
    }
    ~Lifetime()
    {
        for (const Device& device : gDevices) {
            const bool hasPort = device.isOpen && device.port != nullptr;
            if (hasPort && HasFault("unload-while-open")) {
                std::abort();
            }
        }
        if (CountOpen() > 1 && HasFault("exit-while-open")) {
            std::abort();
        }
        if (HasFault("crashes-when-unloaded") || HasFault("crashes-at-the-end")) {
            std::abort();
        }
        if (HasFault("exits-when-unloaded") || HasFault("exits-at-the-end")) {
            _exit(0);
        }
        while (HasFault("hangs-when-unloaded")) {
            usleep(1000);
        }
    }
};
const Lifetime gLifetime;

/// From now on the bundle goes with the process.
void StayLoaded()
{
    Dl_info self = {};
    if (dladdr(&gDevices, &self) != 0) {
        dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE);
    }
}

/// What an open does besides.
void Misbehave(const AudioDriverPlugInHostInfo& info)
{
    gCallback = info.mDevicePropertyChangedProc;
    if (HasFault("prints-nothing")) {
        std::puts("device opened");
    }
    if (HasFault("opens-no-files")) {
        close(open("/etc/hostname", O_RDONLY | O_CLOEXEC));
    }
    if (HasFault("crashes-at-the-end") || HasFault("exits-at-the-end")) {
        StayLoaded();
    }
    if (HasFault("rounds-of-opening") && gOpens > 1) {
        eventfd(0, EFD_CLOEXEC);
    }
}

OSStatus SetValue(Device& device, UInt32 channel, UInt32 selector, const void* data)
{
    if (reinterpret_cast<std::uintptr_t>(data) % 2 != 0 &&
        selector == kDirectMonitorEnableProperty && HasFault("set-odd-address-enable")) {
        return kWhat;
    }
    if (HasFault("no-announcements")) {
        gCallback(device.id, channel, 1, selector);
    }
    const bool isFirst = !device.hasSet;
    device.hasSet = true;
    if (selector == kDirectMonitorLevelProperty) {
        return SendLevel(device, channel, data);
    }
    UInt32 word = 0;
    std::memcpy(&word, data, sizeof word);
    return selector == kDirectMonitorStateProperty
               ? SendState(device, word, isFirst)
               : SendWord(device, kDirectMonitorEnableParameter, word);
}

/// The refusals of a set, by size, channel and side; 0 if it is none.
OSStatus Refuse(UInt32 channel, Boolean isInput, UInt32 selector, UInt32 size)
{
    const bool isLevel = selector == kDirectMonitorLevelProperty;
    const bool isTaken = isLevel && size == 12 && HasFault("set-size-level");
    if (size != GetSize(selector) && !isTaken) {
        return kSize;
    }
    const bool isSideFirst =
        selector == kDirectMonitorEnableProperty && HasFault("set-channel-first-enable");
    if (isInput == 0 && isSideFirst) {
        return kWhat;
    }
    if (channel != 0 && !isLevel) {
        return kUnsupported;
    }
    return isInput == 0 ? kWhat : 0;
}

} // namespace

EXPORTED OSStatus AudioDriverPlugInOpen(AudioDriverPlugInHostInfo* info)
{
    if (Find(info->mDeviceID) != nullptr) {
        if (HasFault("open-twice-close-once")) {
            Add(info->mDeviceID);
        }
        return HasFault("open-twice") ? 0 : kWhat;
    }
    if (info->mDeviceID == 0 && HasFault("device-zero")) {
        return kWhat;
    }
    const OSStatus status = Add(info->mDeviceID);
    Misbehave(*info);
    return status;
}

EXPORTED OSStatus AudioDriverPlugInClose(AudioDeviceID id)
{
    Device* const device = Find(id);
    if (device == nullptr) {
        return CountOpen() > 0 && HasFault("close-unknown") ? 0 : kWhat;
    }
    if (HasFault("only-sets-send")) {
        SendSimple(*device, kCloseDirectMonitorMessage);
    }
    if (GetThread() != device->openingThread && HasFault("threads-take-turns")) {
        return kWhat;
    }
    if (CountOpen() == 2 && device == gDevices && HasFault("close-one-of-two")) {
        gDevices[1].isOpen = false;
    }
    device->isOpen = false;
    return 0;
}

EXPORTED OSStatus AudioDriverPlugInDeviceGetPropertyInfo(AudioDeviceID, UInt32 channel, Boolean,
                                                         AudioDevicePropertyID selector,
                                                         UInt32* outSize, Boolean* outWritable)
{
    const UInt32 size = GetSize(selector);
    const bool isLevel = selector == kDirectMonitorLevelProperty;
    if (outSize != nullptr) {
        *outSize = size == 0 && HasFault("info-unknown") ? 4 : size;
    }
    const bool isWrong = isLevel && channel == 0 && outSize != nullptr && HasFault("info-level");
    if (outWritable != nullptr ||
        (selector == kDirectMonitorEnableProperty && HasFault("info-null-enable"))) {
        *outWritable = size != 0 && !isWrong ? 1 : 0;
    }
    return size != 0 ? 0 : kWho;
}

EXPORTED OSStatus AudioDriverPlugInDeviceGetProperty(AudioDeviceID id, UInt32 channel,
                                                     Boolean isInput,
                                                     AudioDevicePropertyID selector, UInt32* ioSize,
                                                     void* outData)
{
    if (ioSize == nullptr && !HasFault("get-null-size")) {
        return kSize;
    }
    if (outData == nullptr) {
        return *ioSize == 0 ? kSize : kWhat;
    }
    if (Find(id) == nullptr) {
        return kWhat;
    }
    if (GetSize(selector) == 0) {
        return kWho;
    }
    const bool isState = selector == kDirectMonitorStateProperty;
    if (isState && *ioSize == 3 && isInput != 0 && HasFault("get-size-state")) {
        std::memset(outData, 0, 4);
    }
    if (*ioSize != GetSize(selector)) {
        return kSize;
    }
    if (isInput == 0 || (channel != 0 && selector != kDirectMonitorLevelProperty)) {
        return kWhat;
    }
    if (selector == kDirectMonitorEnableProperty && HasFault("get-enable")) {
        std::memset(outData, 0, 4);
    }
    return kUnsupported;
}

EXPORTED OSStatus AudioDriverPlugInDeviceSetProperty(AudioDeviceID id, const AudioTimeStamp* when,
                                                     UInt32 channel, Boolean isInput,
                                                     AudioDevicePropertyID selector, UInt32 size,
                                                     const void* data)
{
    if (data == nullptr) {
        return kWhat;
    }
    Device* const device = Find(id);
    if (device == nullptr) {
        return kWhat;
    }
    if (GetSize(selector) == 0) {
        return kWho;
    }
    const OSStatus refusal = Refuse(channel, isInput, selector, size);
    if (refusal != 0) {
        if (isInput == 0 && HasFault("refused-sets-send-nothing")) {
            SendSimple(*device, kOpenDirectMonitorMessage);
        }
        if (HasFault("rounds-of-refusals")) {
            gLost = std::malloc(4096);
        }
        return refusal;
    }
    UInt32 word = 0;
    std::memcpy(&word, data, sizeof word);
    if (selector == kDirectMonitorStateProperty && word == 0x7FFFFFFF &&
        HasFault("set-largest-positive-state")) {
        return static_cast<OSStatus>(when->mFlags);
    }
    if (selector == kDirectMonitorStateProperty && HasFault("stops-its-host")) {
        kill(getppid(), SIGTERM);
        for (;;) {
            pause();
        }
    }
    const bool isThreaded = id >= 1000 && id < 1004 && HasFault("threads-set");
    if (isThreaded && ++gSets > 1) {
        --gSets;
        return kAudioHardwareNotRunningError;
    }
    const OSStatus status = SetValue(*device, channel, selector, data);
    if (isThreaded) {
        usleep(1000);
        --gSets;
    }
    return status;
}

EXPORTED OSStatus AudioDriverPlugInStreamGetPropertyInfo(AudioDeviceID, io_object_t, UInt32,
                                                         AudioDevicePropertyID, UInt32*, Boolean*)
{
    if (HasFault("unload")) {
        StayLoaded();
    }
    return kWho;
}

EXPORTED OSStatus AudioDriverPlugInStreamGetProperty(AudioDeviceID, io_object_t, UInt32,
                                                     AudioDevicePropertyID, UInt32* ioSize, void*)
{
    if (ioSize != nullptr && HasFault("stream-get")) {
        *ioSize = 0;
    }
    return kWho;
}
