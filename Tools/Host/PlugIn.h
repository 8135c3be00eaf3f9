// PlugIn.h - a driver plug-in bundle, loaded, with its entry points found by name.
#pragma once

#include <CoreAudio/AudioDriverPlugIn.h>

#include <memory>
#include <string>

namespace Host {

/// The eight entry points.
struct EntryPoints
{
    decltype(&AudioDriverPlugInOpen) open;
    decltype(&AudioDriverPlugInClose) close;
    decltype(&AudioDriverPlugInDeviceGetPropertyInfo) deviceGetPropertyInfo;
    decltype(&AudioDriverPlugInDeviceGetProperty) deviceGetProperty;
    decltype(&AudioDriverPlugInDeviceSetProperty) deviceSetProperty;
    decltype(&AudioDriverPlugInStreamGetPropertyInfo) streamGetPropertyInfo;
    decltype(&AudioDriverPlugInStreamGetProperty) streamGetProperty;
    decltype(&AudioDriverPlugInStreamSetProperty) streamSetProperty;
};

class PlugIn
{
public:
    /// Loads a bundle: a loadable file, or a folder with one in Contents/MacOS. Returns null, with
    /// the reason, if it cannot be loaded or lacks an entry point.
    static std::unique_ptr<PlugIn> Load(const std::string& path, std::string& error);

    /// Unloads the bundle.
    ~PlugIn();
    PlugIn(const PlugIn&) = delete;
    PlugIn& operator=(const PlugIn&) = delete;

    const EntryPoints& GetEntryPoints() const { return mEntryPoints; }
    const std::string& GetPath() const { return mPath; }

private:
    PlugIn(void* image, std::string path);

    void* const mImage;
    const std::string mPath;
    EntryPoints mEntryPoints{};
};

/// Returns the file that is loaded for a bundle.
std::string FindImagePath(const std::string& bundle);

/// Tells by a bundle's name whether it is the direct-monitor plug-in.
bool IsOwnPlugIn(const std::string& path);

/// Returns the bundle beside this program, or the installed one, whose place relative to the
/// program is known; if there is none, the path where it is looked for first.
std::string FindDefaultPlugIn();

} // namespace Host
