// FileDescriptor.h - the owner of one file descriptor.
#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace Standin {

/// Closes its descriptor at the end of its life. Descriptors 0 to 2 are moved up, so that a
/// program that has closed its standard streams never prints into a port.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    /// Takes a fresh descriptor, or -1 for none.
    explicit FileDescriptor(int fresh)
        : mDescriptor(fresh)
    {
        if (fresh >= 0 && fresh <= STDERR_FILENO) {
            mDescriptor = fcntl(fresh, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            close(fresh);
        }
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : mDescriptor(std::exchange(other.mDescriptor, -1))
    {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(mDescriptor, other.mDescriptor);
        return *this;
    }
    ~FileDescriptor() { Close(); }

    int Get() const { return mDescriptor; }
    explicit operator bool() const { return mDescriptor >= 0; }
    void Close()
    {
        if (mDescriptor >= 0) {
            close(std::exchange(mDescriptor, -1));
        }
    }

private:
    int mDescriptor = -1;
};

} // namespace Standin
