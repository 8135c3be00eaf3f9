// CountedSets.cpp - sets a level 1,000 times, each at a server that waits for it; for
// CountSystemCalls.py, which looks at the calls of the system between the two of getppid.

#include "Protocol/ServerProtocol.h"

#include <CoreAudio/AudioDriverPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::atomic<int>* gReceived = nullptr;

CFDataRef Count(CFMessagePortRef, SInt32, CFDataRef, void*)
{
    gReceived->fetch_add(1);
    return nullptr;
}

[[noreturn]] void Serve()
{
    const CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, CFSTR(kServerPortName), Count, nullptr, nullptr);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), CFMessagePortCreateRunLoopSource(nullptr, port, 0),
                       kCFRunLoopDefaultMode);
    gReceived->store(0);
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 120, false);
    _exit(0);
}

void SetLevelAndWait(int received)
{
    const Float32 gains[2] = {1.0F, 0.5F};
    if (AudioDriverPlugInDeviceSetProperty(258, nullptr, 1, 1, kDirectMonitorLevelProperty,
                                           sizeof(gains), gains) != 0) {
        _exit(1);
    }
    while (gReceived->load() != received) {
    }
}

} // namespace

int main()
{
    void* const memory = mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    gReceived = static_cast<std::atomic<int>*>(memory);
    gReceived->store(-1);
    const pid_t server = fork();
    if (server == 0) {
        Serve();
    }
    while (gReceived->load() != 0) {
    }
    AudioDriverPlugInHostInfo hostInfo = {258, 0, 0, nullptr, nullptr};
    AudioDriverPlugInOpen(&hostInfo);
    // Connects.
    SetLevelAndWait(1);
    getppid();
    for (int set = 1; set <= 1000; ++set) {
        SetLevelAndWait(set + 1);
    }
    getppid();
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
    return 0;
}
