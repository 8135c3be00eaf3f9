// PortName.h - the names of ports: who holds one, and how to take and to reach it.
//
// All ports of a user are in one folder that only this user can enter, so the system keeps every
// other user out. A name is a folder in it, with two files:
//
//   lock     locked by the holder of the name for as long as it holds the name
//   socket   where the holder listens; the socket of a dead holder is replaced
//
// Both are removed when the holder gives the name back.
#pragma once

#include "Ports/FileDescriptor.h"

#include <string>
#include <string_view>

namespace Standin {

/// The longest name of a port, in bytes.
inline constexpr std::size_t kLongestName = 127;

/// Connects to the holder of a name, without waiting; returns no descriptor if no one holds it.
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

    /// Takes a name; false if it is held already, or there is no folder or no free descriptor.
    bool Take(std::string_view name);

    /// The listening socket, or -1.
    int GetSocket() const { return mSocket.Get(); }
    /// Forgets the name in a forked child. The parent still holds it.
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
