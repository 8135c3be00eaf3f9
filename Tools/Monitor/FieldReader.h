// FieldReader.h - reads a message field by field and notes each one's place and meaning.
#pragma once

#include "Tools/Monitor/Message.h"

namespace Monitor {

/// Returns `size` bytes from `bytes` on, 8 at most, as a number.
UInt64 LoadNumber(const unsigned char* bytes, std::size_t size, ByteOrder order);

/// A cursor over the bytes of a message. A field that the bytes end in is reported once, as a
/// truncation, and nothing after it can be read.
class FieldReader
{
public:
    /// The message's bytes must not change while the reader is in use.
    explicit FieldReader(DecodedMessage& message);

    /// Reads an unsigned number of `size` bytes and notes the field with that meaning: the number
    /// in decimal until SetMeaning says more. Returns false if the message ends before.
    bool Read(const char* name, std::size_t size, ByteOrder order, UInt64& number);

    /// Reads `size` bytes without interpreting them.
    bool ReadBytes(const char* name, std::size_t size, const unsigned char*& bytes);

    /// Replaces the meaning of the field read last.
    void SetMeaning(std::string meaning);

    /// Reports what is wrong with the field read last.
    void Report(std::string text);

    /// Reports something at any offset of the message.
    void ReportAt(std::size_t offset, std::string text);

    std::size_t GetOffset() const { return mOffset; }
    std::size_t GetRemaining() const { return mMessage.bytes.size() - mOffset; }

private:
    DecodedMessage& mMessage;
    std::size_t mOffset = 0;
    std::size_t mLastOffset = 0;
};

} // namespace Monitor
