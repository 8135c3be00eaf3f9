// LentBuffer.h - memory that is lent to the plug-in for one call, with guards around it.
//
// The bytes lie at one end of a page between two pages that cannot be touched, at the end of the
// page for one buffer and at its beginning for the next. An access past the guarded end is a fault
// at once; a write past the other end changes the filling of the page, which IsDamaged notices.
#pragma once

#include <cstddef>
#include <string>

namespace Validate {

class LentBuffer
{
public:
    enum class Access
    {
        kWritable,
        kReadOnly, ///< the plug-in has no business to change it: a write is a fault
        kNone      ///< not even a read is allowed
    };

    /// Makes a buffer that holds a copy of the bytes; `name` is what it is called when something is
    /// wrong. Throws std::bad_alloc.
    LentBuffer(const char* name, const void* bytes, std::size_t size, Access access);
    ~LentBuffer();
    LentBuffer(const LentBuffer&) = delete;
    LentBuffer& operator=(const LentBuffer&) = delete;

    void* Get() const { return mBytes; }
    std::size_t GetSize() const { return mSize; }

    /// Tells whether something outside the buffer has been written.
    bool IsDamaged() const;

    /// Says which living buffer an address belongs to, or is next to: "1 byte after the end of the
    /// data (4 bytes)". Writes "" if it is none's. Safe in a signal handler.
    static void DescribeAddress(const void* address, char* text, std::size_t size);

private:
    const char* const mName;
    const std::size_t mSize;
    std::size_t mInnerSize = 0;
    unsigned char* mWhole = nullptr;
    unsigned char* mBytes = nullptr;
    int mSlot = -1; ///< in the list of living buffers
};

} // namespace Validate
