// Fault.cpp - which fault a bundle has: the one that its file is named after.

#include "Tests/Tools/Host/WrongPlugIn/Fault.h"

#include <dlfcn.h>

#include <string>

namespace {

std::string NameOfThisFile()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&HasFault), &info) == 0) {
        return {};
    }
    const std::string path = info.dli_fname;
    const std::string file = path.substr(path.rfind('/') + 1);
    return file.substr(0, file.rfind('.'));
}

} // namespace

bool HasFault(const char* fault)
{
    // Some faults are asked for while the bundle is loaded, before its static objects are made.
    static const std::string name = NameOfThisFile();
    return name == fault;
}
