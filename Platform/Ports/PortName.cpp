// PortName.cpp - the addresses of a port's name, and the search for its holder.

#include "Ports/PortName.h"

#include "Ports/Clock.h"
#include "Ports/PortSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <sys/random.h>

namespace Standin {

namespace {

// What a search may take, however many decoys there are. Time of its own thread: on a busy machine
// a search must not end early, or it would miss a holder.
constexpr Nanoseconds kLongestSearch = 100000000;
// What a rival that starts at the same moment has to see that it is one too many.
constexpr Nanoseconds kPatience = 500000000;

constexpr std::size_t kHexDigits = 32;

Nanoseconds OwnTime()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<Nanoseconds>(used.tv_sec) * 1000000000 + used.tv_nsec;
}

std::string Hexadecimal(UInt64 high, UInt64 low)
{
    char text[kHexDigits + 1];
    std::snprintf(text, sizeof text, "%016llx%016llx", high, low);
    return text;
}

/// Two hashes of a name, for addresses that have no room for it.
std::string HashOf(std::string_view name)
{
    UInt64 forward = 0xCBF29CE484222325u;
    UInt64 backward = forward;
    for (std::size_t index = 0; index < name.size(); ++index) {
        forward = (forward ^ static_cast<unsigned char>(name[index])) * 0x100000001B3u;
        backward =
            (backward ^ static_cast<unsigned char>(name[name.size() - 1 - index])) * 0x100000001B3u;
    }
    return Hexadecimal(forward, backward);
}

/// What all spare addresses of a name begin with. The name itself may contain bytes that the list
/// of sockets does not print as they are.
std::string SpareStart(std::string_view name)
{
    return "qx-spare:" + std::to_string(geteuid()) + ":" + HashOf(name) + ":";
}

/// Reads the spare addresses of one name from the list of sockets. It takes text for an address
/// wherever it stands: another user's socket may be called anything, line ends included.
class SpareAddresses
{
public:
    SpareAddresses(std::string_view name, const char* socketList)
        : mList(open(socketList, O_RDONLY | O_CLOEXEC))
        , mStart("@" + SpareStart(name))
    {}

    /// False at the end of the list, or when the time is over.
    bool Next(std::string& address)
    {
        for (;;) {
            const std::size_t found = mText.find(mStart);
            const std::size_t size = mStart.size() + kHexDigits;
            if (found != std::string::npos && mText.size() - found >= size) {
                address = mText.substr(found + 1, size - 1);
                mText.erase(0, found + size);
                return OwnTime() < mDeadline;
            }
            // The rest may be the beginning of an address.
            mText.erase(0, std::min(found, mText.size() - std::min(mText.size(), mStart.size())));
            if (OwnTime() >= mDeadline || !ReadMore()) {
                return false;
            }
        }
    }

private:
    bool ReadMore()
    {
        char bytes[4096];
        ssize_t size = -1;
        do {
            size = mList ? read(mList.Get(), bytes, sizeof bytes) : 0;
        } while (size < 0 && errno == EINTR);
        mText.append(bytes, size > 0 ? static_cast<std::size_t>(size) : 0);
        return size > 0;
    }

    const FileDescriptor mList;
    const std::string mStart;
    const Nanoseconds mDeadline = OwnTime() + kLongestSearch;
    std::string mText;
};

struct Holder
{
    FileDescriptor mSocket;
    std::string mAddress;
};

/// Looks for a holder other than the one at the address `own`.
Holder FindOther(std::string_view name, std::string_view own, const char* socketList)
{
    std::string address = WellKnownAddress(name);
    if (FileDescriptor socket = address != own ? ConnectTo(address) : FileDescriptor()) {
        return {std::move(socket), std::move(address)};
    }
    SpareAddresses spares(name, socketList);
    while (spares.Next(address)) {
        if (FileDescriptor socket = address != own ? ConnectTo(address) : FileDescriptor()) {
            return {std::move(socket), std::move(address)};
        }
    }
    return {};
}

/// Settles who keeps a name when several have begun to listen at the same moment: whoever sees an
/// earlier address gives up, and whoever sees a later one waits for it to do the same. One that
/// has not by then looked before this one listened; it holds the name.
bool PrevailsAt(const std::string& own, std::string_view name, const char* socketList)
{
    const Nanoseconds deadline = Now() + kPatience;
    for (;;) {
        const Holder other = FindOther(name, own, socketList);
        if (!other.mSocket) {
            return true;
        }
        if (other.mAddress < own || Now() >= deadline) {
            return false;
        }
        pollfd end{};
        end.fd = other.mSocket.Get();
        end.events = POLLRDHUP;
        const timespec left = ToTimespec(std::max<Nanoseconds>(deadline - Now(), 0));
        ppoll(&end, 1, &left, nullptr);
    }
}

} // namespace

std::string WellKnownAddress(std::string_view name)
{
    const std::string start = "qx-port:" + std::to_string(geteuid()) + ":";
    return start +
           (name.size() <= kLongestAddress - start.size() ? std::string(name) : "#" + HashOf(name));
}

std::string SpareAddress(std::string_view name)
{
    UInt64 random[2];
    if (getrandom(random, sizeof random, GRND_NONBLOCK) != sizeof random) {
        return std::string();
    }
    return SpareStart(name) + Hexadecimal(random[0], random[1]);
}

FileDescriptor FindHolder(std::string_view name, const char* socketList)
{
    return FindOther(name, std::string_view(), socketList).mSocket;
}

FileDescriptor TakeName(std::string_view name, const char* socketList)
{
    // Clients must not meet a second holder even for the moment that it takes to give up.
    if (FindHolder(name, socketList)) {
        return FileDescriptor();
    }
    std::string address = WellKnownAddress(name);
    FileDescriptor made = ListenAt(address);
    if (!made && access(socketList, R_OK) == 0) {
        address = SpareAddress(name);
        made = address.empty() ? FileDescriptor() : ListenAt(address);
    }
    return made && PrevailsAt(address, name, socketList) ? std::move(made) : FileDescriptor();
}

} // namespace Standin
