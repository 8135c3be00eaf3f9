// PortFolder.cpp - where the ports of a user are, and what may be wrong there.

#include "Ports/PortFolder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace Standin {

namespace {

bool IsOwnFolder(const std::string& path)
{
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
}

/// The folder that `qx-ports` goes into; empty if there is none.
std::string FindBase()
{
    const char* const session = std::getenv("XDG_RUNTIME_DIR");
    if (session != nullptr && *session == '/' && IsOwnFolder(session)) {
        return session;
    }
    if (std::string path = "/run/user/" + std::to_string(geteuid()); IsOwnFolder(path)) {
        return path;
    }
    const char* const home = std::getenv("HOME");
    std::string path = home != nullptr && *home == '/' ? home : "";
    if (!path.empty() && IsOwnFolder(path)) {
        path += "/.cache";
        mkdir(path.c_str(), 0700);
    }
    return IsOwnFolder(path) ? path : "";
}

/// What is wrong with the folder of all ports; empty if nothing is.
std::string FindFault(const FileDescriptor& folder)
{
    struct stat info = {};
    if (!folder || fstat(folder.Get(), &info) != 0) {
        return std::string("cannot be opened: ") + std::strerror(errno);
    }
    if (S_ISLNK(info.st_mode)) {
        return "is a link";
    }
    if (!S_ISDIR(info.st_mode)) {
        return "is not a folder";
    }
    if (info.st_uid != geteuid()) {
        return "belongs to another user";
    }
    return (info.st_mode & (S_IRWXG | S_IRWXO)) != 0
               ? "is open to other users; its mode must be 700"
               : "";
}

} // namespace

FileDescriptor OpenPortFolder(std::string& fault)
{
    const std::string base = FindBase();
    if (base.empty()) {
        fault = "none of $XDG_RUNTIME_DIR, /run/user/" + std::to_string(geteuid()) +
                " and .cache in the home folder is a folder of this user's";
        return FileDescriptor();
    }
    const std::string path = base + "/qx-ports";
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        fault = path + " cannot be made: " + std::strerror(errno);
        return FileDescriptor();
    }
    FileDescriptor folder(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    fault = FindFault(folder);
    if (!fault.empty()) {
        fault = path + " " + fault;
        folder.Close();
    }
    return folder;
}

} // namespace Standin
