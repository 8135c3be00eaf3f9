// FieldReader.cpp - a cursor over the bytes of a message.

#include "Tools/Monitor/FieldReader.h"

#include "Tools/Common/Text.h"

#include <utility>

namespace Monitor {

UInt64 LoadNumber(const unsigned char* bytes, std::size_t size, ByteOrder order)
{
    UInt64 number = 0;
    for (std::size_t index = 0; index < size; ++index) {
        number = number << 8 | bytes[order == ByteOrder::kBig ? index : size - 1 - index];
    }
    return number;
}

FieldReader::FieldReader(DecodedMessage& message)
    : mMessage(message)
{}

bool FieldReader::Read(const char* name, std::size_t size, ByteOrder order, UInt64& number)
{
    const unsigned char* bytes = nullptr;
    if (!ReadBytes(name, size, bytes)) {
        return false;
    }
    number = LoadNumber(bytes, size, order);
    SetMeaning(std::to_string(number));
    return true;
}

bool FieldReader::ReadBytes(const char* name, std::size_t size, const unsigned char*& bytes)
{
    if (GetRemaining() < size) {
        ReportAt(mOffset, std::string("truncated: the ") + name + " needs " +
                              Tools::Count(size, "byte") + ", " + std::to_string(GetRemaining()) +
                              (GetRemaining() == 1 ? " is left" : " are left"));
        if (GetRemaining() > 0) {
            mMessage.fields.push_back(
                {mOffset, GetRemaining(), std::string(name) + " (truncated)", ""});
            mOffset = mMessage.bytes.size();
        }
        return false;
    }
    bytes = mMessage.bytes.data() + mOffset;
    mMessage.fields.push_back({mOffset, size, name, ""});
    mLastOffset = mOffset;
    mOffset += size;
    return true;
}

void FieldReader::SetMeaning(std::string meaning)
{
    mMessage.fields.back().meaning = std::move(meaning);
}

void FieldReader::Report(std::string text)
{
    ReportAt(mLastOffset, std::move(text));
}

void FieldReader::ReportAt(std::size_t offset, std::string text)
{
    mMessage.findings.push_back({Place::kMessage, offset, std::move(text)});
}

} // namespace Monitor
