// LoadedBundle.h - a plug-in bundle that is loaded as a host loads it: by path, without the
// framework's help.
#pragma once

#include <CoreAudio/AudioDriverPlugIn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>

/// Loaded while this object lives. Ends the process if the bundle cannot be loaded or unloaded.
class LoadedBundle
{
public:
    explicit LoadedBundle(const std::string& path)
        : mHandle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (mHandle == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::abort();
        }
    }
    LoadedBundle(const LoadedBundle&) = delete;
    LoadedBundle& operator=(const LoadedBundle&) = delete;
    ~LoadedBundle()
    {
        if (dlclose(mHandle) != 0) {
            std::abort();
        }
    }

    /// Returns the address of an exported name, null if there is none.
    void* Find(const char* name) const { return dlsym(mHandle, name); }
    template <class Function>
    Function* Find(const char* name) const
    {
        return reinterpret_cast<Function*>(Find(name));
    }

    OSStatus Open(AudioDeviceID device) const
    {
        AudioDriverPlugInHostInfo hostInfo = {device, 0, 0, nullptr, nullptr};
        return Find<decltype(AudioDriverPlugInOpen)>("AudioDriverPlugInOpen")(&hostInfo);
    }
    OSStatus Close(AudioDeviceID device) const
    {
        return Find<decltype(AudioDriverPlugInClose)>("AudioDriverPlugInClose")(device);
    }
    /// Sets a property on the master input channel.
    OSStatus Set(AudioDeviceID device, UInt32 property, UInt32 size, const void* data) const
    {
        return Find<decltype(AudioDriverPlugInDeviceSetProperty)>(
            "AudioDriverPlugInDeviceSetProperty")(device, nullptr, 0, 1, property, size, data);
    }
    OSStatus SetInteger(AudioDeviceID device, UInt32 property, UInt32 value) const
    {
        return Set(device, property, 4, &value);
    }

private:
    void* mHandle;
};
