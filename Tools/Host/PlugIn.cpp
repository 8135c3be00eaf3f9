// PlugIn.cpp - loading a bundle and finding its entry points.

#include "Tools/Host/PlugIn.h"

#include "Tools/Common/Nearest.h"
#include "Tools/Host/Image.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#ifdef __APPLE__
#include <cstdint>
#include <mach-o/dyld.h>
#endif

namespace Host {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBundleName = "DriverPlugIn.so";

fs::path GetProgramPath()
{
#ifdef __APPLE__
    char buffer[4096];
    std::uint32_t size = sizeof buffer;
    return _NSGetExecutablePath(buffer, &size) == 0 ? fs::path(buffer) : fs::path();
#else
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error);
#endif
}

/// The file to load for a path: the path itself, or the program inside a bundle's folder. It has a
/// slash, so that the loader takes it as a path and searches nowhere else.
fs::path FindImage(const std::string& path)
{
    std::error_code error;
    fs::path image = path;
    if (fs::is_directory(image, error)) {
        const fs::path folder = image.has_filename() ? image : image.parent_path();
        image = folder / "Contents" / "MacOS" / folder.stem();
    }
    return image.has_parent_path() ? image : fs::path(".") / image;
}

/// Looks an entry point up. Adds its name to `missing` if it is not there.
template <class T>
void FindEntryPoint(void* image, const char* name, T& entryPoint, std::vector<std::string>& missing)
{
    entryPoint = reinterpret_cast<T>(dlsym(image, name));
    if (entryPoint == nullptr) {
        missing.emplace_back(name);
    }
}

std::vector<std::string> FindEntryPoints(void* image, EntryPoints& points)
{
    std::vector<std::string> missing;
    FindEntryPoint(image, "AudioDriverPlugInOpen", points.open, missing);
    FindEntryPoint(image, "AudioDriverPlugInClose", points.close, missing);
    FindEntryPoint(image, "AudioDriverPlugInDeviceGetPropertyInfo", points.deviceGetPropertyInfo,
                   missing);
    FindEntryPoint(image, "AudioDriverPlugInDeviceGetProperty", points.deviceGetProperty, missing);
    FindEntryPoint(image, "AudioDriverPlugInDeviceSetProperty", points.deviceSetProperty, missing);
    FindEntryPoint(image, "AudioDriverPlugInStreamGetPropertyInfo", points.streamGetPropertyInfo,
                   missing);
    FindEntryPoint(image, "AudioDriverPlugInStreamGetProperty", points.streamGetProperty, missing);
    FindEntryPoint(image, "AudioDriverPlugInStreamSetProperty", points.streamSetProperty, missing);
    return missing;
}

} // namespace

std::unique_ptr<PlugIn> PlugIn::Load(const std::string& path, std::string& error)
{
    const fs::path file = FindImage(path);
    error = DescribeForeignImage(file.string());
    if (!error.empty()) {
        return nullptr;
    }
    void* const image = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (image == nullptr) {
        const char* const reason = dlerror();
        error = reason != nullptr ? reason : "the loader gives no reason";
        return nullptr;
    }
    std::unique_ptr<PlugIn> plugIn(new PlugIn(image, file.string()));
    const std::vector<std::string> missing = FindEntryPoints(image, plugIn->mEntryPoints);
    if (!missing.empty()) {
        error = (missing.size() == 1 ? "it lacks the entry point " : "it lacks the entry points ") +
                Tools::JoinWords(missing);
        return nullptr;
    }
    return plugIn;
}

PlugIn::PlugIn(void* image, std::string path)
    : mImage(image)
    , mPath(std::move(path))
{}

PlugIn::~PlugIn()
{
    dlclose(mImage);
}

std::string FindImagePath(const std::string& bundle)
{
    return FindImage(bundle).string();
}

bool IsOwnPlugIn(const std::string& path)
{
    return fs::path(path).stem() == fs::path(kBundleName).stem();
}

std::string FindDefaultPlugIn()
{
    const fs::path folder = GetProgramPath().parent_path();
    const fs::path beside = folder / kBundleName;
    const fs::path installed = (folder / QX_BUNDLEDIR_FROM_BINDIR / kBundleName).lexically_normal();
    std::error_code error;
    return !fs::exists(beside, error) && fs::exists(installed, error) ? installed.string()
                                                                      : beside.string();
}

} // namespace Host
