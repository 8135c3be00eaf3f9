// String.h - the framework's string over a shared, counted buffer.
#pragma once

#include <QX/Buffer.h>
#include <QX/StringFwd.h>

#include <cstring>

namespace QX {

template <>
class StringT<char, unsigned short>
{
public:
    StringT(const char* text)
        : mBuffer(LTextBuffer::Create(static_cast<uint32>(std::strlen(text) + 1), 0, true))
    {
        std::memcpy(mBuffer->GetRawPtr(), text, mBuffer->GetSizeBytes());
    }
    virtual ~StringT() = default;
    StringT(const StringT&) = default;
    StringT& operator=(const StringT&) = default;

    const char* CStr() const { return static_cast<const char*>(mBuffer->GetRawPtr()); }

private:
    RCPtr<LIBuffer> mBuffer;
};

} // namespace QX
