// WriteDocuments.cpp - writes documents that the plug-in sends into a folder, for
// CheckDocuments.py.

#include "DriverPlugIn/Support/PlatformCalls.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <fstream>
#include <string>

namespace {

void Write(const std::string& path, AudioDeviceID device, UInt32 channel, UInt32 property,
           UInt32 size, const void* data)
{
    AudioDriverPlugInHostInfo hostInfo = {device, 0, 0, nullptr, nullptr};
    AudioDriverPlugInOpen(&hostInfo);
    AudioDriverPlugInDeviceSetProperty(device, nullptr, channel, 1, property, size, data);
    AudioDriverPlugInClose(device);
    for (const SentMessage& sent : PlatformCalls::GetSent()) {
        if (sent.hasData) {
            std::ofstream(path, std::ios::binary) << sent.data;
        }
    }
    PlatformCalls::ClearSent();
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        return 2;
    }
    const std::string folder = std::string(arguments[1]) + "/";
    const UInt32 ones = 0xFFFFFFFF;
    const UInt32 zero = 0;
    const UInt32 two = 2;
    const Float32 gains[2] = {1.0F, 0.5F};
    const Float32 silence[2] = {0.0F, 10.0F};
    PlatformCalls::SetServerPresent(true);
    Write(folder + "enable.plist", 258, 0, 0x44476D65, 4, &ones);
    Write(folder + "state.plist", 0, 0, 0x4447646D, 4, &two);
    Write(folder + "stateZero.plist", 0x7FFFFFFF, 0, 0x4447646D, 4, &zero);
    Write(folder + "level.plist", 0xFFFFFFFE, 1, 0x44476D6C, 8, gains);
    Write(folder + "levelMaster.plist", 0x80000000, 0, 0x44476D6C, 8, silence);
    return 0;
}
