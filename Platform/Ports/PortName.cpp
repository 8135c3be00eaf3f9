// PortName.cpp - the lock and the socket of each name.

#include "Ports/PortName.h"

#include "Ports/PortFolder.h"

#include <cerrno>
#include <cstdio>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace Standin {

namespace {

constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// The name of a port as the name of a file, of at most 254 bytes.
std::string FileOf(std::string_view name)
{
    std::string file = name.empty() ? "~" : "";
    for (const char character : name) {
        if (character == '/' || character == '~' || (character == '.' && file.empty())) {
            file += '~';
        }
        file += character == '/' ? 's' : character;
    }
    return file;
}

/// The address of the socket in an open folder. It does not use the folder's path, which could be
/// too long for it.
sockaddr_un AddressIn(const FileDescriptor& folder)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/socket",
                  folder.Get());
    return address;
}

FileDescriptor MakeSocket()
{
    return FileDescriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

} // namespace

FileDescriptor ConnectToHolder(std::string_view name)
{
    std::string fault;
    const FileDescriptor all = OpenPortFolder(fault);
    const FileDescriptor folder(all ? openat(all.Get(), FileOf(name).c_str(), kFolderFlags) : -1);
    FileDescriptor made = folder ? MakeSocket() : FileDescriptor();
    const sockaddr_un address = AddressIn(folder);
    int result = -1;
    do {
        result =
            made ? connect(made.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address)
                 : -1;
    } while (made && result != 0 && errno == EINTR);
    return result == 0 ? std::move(made) : FileDescriptor();
}

bool HeldName::Take(std::string_view name)
{
    return Lock(name) && Listen();
}

bool HeldName::Lock(std::string_view name)
{
    std::string fault;
    const FileDescriptor all = OpenPortFolder(fault);
    const std::string file = FileOf(name);
    struct stat info = {};
    do {
        mkdirat(all.Get(), file.c_str(), 0700);
        mFolder = FileDescriptor(all ? openat(all.Get(), file.c_str(), kFolderFlags) : -1);
        mLock = FileDescriptor(
            mFolder ? openat(mFolder.Get(), "lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600)
                    : -1);
        if (!mLock) {
            // The holder has just given the name back and removed the folder: try again.
            if (mFolder && errno == ENOENT) {
                continue;
            }
            return false;
        }
        if (flock(mLock.Get(), LOCK_EX | LOCK_NB) != 0 || fstat(mLock.Get(), &info) != 0) {
            return false;
        }
        // Also try again if the holder has removed the lock file that was opened here.
    } while (info.st_nlink == 0);
    mFile = file;
    return true;
}

bool HeldName::Listen()
{
    unlinkat(mFolder.Get(), "socket", 0);
    mSocket = MakeSocket();
    const sockaddr_un address = AddressIn(mFolder);
    return mSocket &&
           bind(mSocket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           listen(mSocket.Get(), SOMAXCONN) == 0;
}

HeldName::~HeldName()
{
    if (mFile.empty()) {
        return;
    }
    unlinkat(mFolder.Get(), "socket", 0);
    unlinkat(mFolder.Get(), "lock", 0);
    const FileDescriptor all(openat(mFolder.Get(), "..", kFolderFlags));
    unlinkat(all.Get(), mFile.c_str(), AT_REMOVEDIR);
    // A forked child that has not yet closed its copy of the file would keep the lock.
    flock(mLock.Get(), LOCK_UN);
}

void HeldName::CloseInChild()
{
    mFile.clear();
    mFolder.Close();
    mLock.Close();
    mSocket.Close();
}

} // namespace Standin
