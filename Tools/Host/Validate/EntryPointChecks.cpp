// EntryPointChecks.cpp - the bundle can be loaded, and has its eight functions.

#include "Tools/Host/Validate/Check.h"

#include <dlfcn.h>

namespace Validate {
namespace {

/// The file that the code at an address was loaded from.
std::string FindFile(const void* code)
{
    Dl_info info = {};
    return dladdr(code, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

void CheckOwnFunctions(Bench& bench)
{
    bench.Load();
    const Host::EntryPoints& points = bench.GetEntryPoints();
    const struct
    {
        const char* name;
        const void* code;
    } functions[] = {
        {"AudioDriverPlugInOpen", reinterpret_cast<const void*>(points.open)},
        {"AudioDriverPlugInClose", reinterpret_cast<const void*>(points.close)},
        {"AudioDriverPlugInDeviceGetPropertyInfo",
         reinterpret_cast<const void*>(points.deviceGetPropertyInfo)},
        {"AudioDriverPlugInDeviceGetProperty",
         reinterpret_cast<const void*>(points.deviceGetProperty)},
        {"AudioDriverPlugInDeviceSetProperty",
         reinterpret_cast<const void*>(points.deviceSetProperty)},
        {"AudioDriverPlugInStreamGetPropertyInfo",
         reinterpret_cast<const void*>(points.streamGetPropertyInfo)},
        {"AudioDriverPlugInStreamGetProperty",
         reinterpret_cast<const void*>(points.streamGetProperty)},
        {"AudioDriverPlugInStreamSetProperty",
         reinterpret_cast<const void*>(points.streamSetProperty)},
    };
    for (const auto& function : functions) {
        const std::string file = FindFile(function.code);
        bench.Require(file == bench.GetImagePath(), std::string(function.name) + " is in " +
                                                        (file.empty() ? "no file" : file) +
                                                        ", not in the bundle");
    }
    for (const auto& one : functions) {
        for (const auto& other : functions) {
            bench.Require(&one == &other || one.code != other.code,
                          std::string(one.name) + " and " + other.name + " are one function");
        }
    }
}

} // namespace

void AddEntryPointChecks(Checks& checks)
{
    checks.push_back({"loads", kEntryPointsTag,
                      "The bundle can be loaded and has the eight entry points.",
                      [](Bench& bench) { bench.Load(); }, true});
    checks.push_back({"own-functions", kEntryPointsTag,
                      "Each entry point is a function of its own, inside the bundle.",
                      CheckOwnFunctions});
}

} // namespace Validate
