// PortName.h - the names of ports: who holds one, and how to take and to reach it.
//
// All ports of a user are in one folder that only this user can enter, so the system keeps every
// other user out. A name is a folder in it, with two files:
//
//   lock     locked by the holder of the name as long as it holds it, whatever it is doing
//   socket   where the holder listens; the socket of a dead holder is replaced
//
// Both go when the name is given back.
#pragma once

#include "Ports/FileDescriptor.h"

#include <string>
#include <string_view>

namespace Standin {

/// The longest name of a port, in bytes.
inline constexpr std::size_t kLongestName = 127;

/// Connects to the holder of a name, without waiting for it; none if nobody holds it.
FileDescriptor ConnectToHolder(std::string_view name);

/// A name that this process holds, or none.
class HeldName
{
public:
    HeldName() = default;
    HeldName(const HeldName&) = delete;
    HeldName& operator=(const HeldName&) = delete;
    /// Gives the name back.
    ~HeldName();

    /// Takes a name; false if it is held already, or for want of a folder or descriptors.
    bool Take(std::string_view name);

    /// The listening socket, or -1.
    int GetSocket() const { return mSocket.Get(); }
    /// Lets go of the name in a forked child, whose parent goes on holding it.
    void CloseInChild();

private:
    bool Lock(std::string_view name);
    bool Listen();

    FileDescriptor mFolder;
    FileDescriptor mLock;
    FileDescriptor mSocket;
    std::string mFile;
};

} // namespace Standin
