// Server.cpp - what a server author writes against the installed protocol: holds the port, and says
// what it listens for.

#include <Protocol/ServerProtocol.h>

#include <CoreFoundation/CoreFoundation.h>

#include <cstdio>

int main()
{
    const CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, CFSTR(kServerPortName), nullptr, nullptr, nullptr);
    if (port == nullptr) {
        return 1;
    }
    std::printf("%s %08X %08X\n", kServerPortName, static_cast<unsigned>(kSetParameterMessage),
                static_cast<unsigned>(kDirectMonitorLevelParameter));
    CFRelease(port);
    return 0;
}
