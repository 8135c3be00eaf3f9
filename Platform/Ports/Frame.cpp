// Frame.cpp - frame headers to bytes and back.

#include "Ports/Frame.h"

namespace Standin {

namespace {

constexpr UInt32 kMagic = 0x51585031;

void WriteWord(unsigned char* bytes, UInt32 word)
{
    bytes[0] = static_cast<unsigned char>(word >> 24);
    bytes[1] = static_cast<unsigned char>(word >> 16 & 0xFF);
    bytes[2] = static_cast<unsigned char>(word >> 8 & 0xFF);
    bytes[3] = static_cast<unsigned char>(word & 0xFF);
}

UInt32 ReadWord(const unsigned char* bytes)
{
    return static_cast<UInt32>(bytes[0]) << 24 | static_cast<UInt32>(bytes[1]) << 16 |
           static_cast<UInt32>(bytes[2]) << 8 | static_cast<UInt32>(bytes[3]);
}

} // namespace

void WriteHeader(const Frame& frame, unsigned char* bytes)
{
    WriteWord(bytes, kMagic);
    WriteWord(bytes + 4, static_cast<UInt32>(frame.mKind));
    WriteWord(bytes + 8, frame.mNumber);
    WriteWord(bytes + 12, static_cast<UInt32>(frame.mMessageID));
    WriteWord(bytes + 16, frame.mLength);
}

bool ReadHeader(const unsigned char* bytes, std::size_t size, Frame& frame)
{
    if (size < kHeaderSize || ReadWord(bytes) != kMagic) {
        return false;
    }
    const UInt32 kind = ReadWord(bytes + 4);
    if (kind < static_cast<UInt32>(FrameKind::kOneWay) ||
        kind > static_cast<UInt32>(FrameKind::kReply)) {
        return false;
    }
    frame.mKind = static_cast<FrameKind>(kind);
    frame.mNumber = ReadWord(bytes + 8);
    frame.mMessageID = static_cast<SInt32>(ReadWord(bytes + 12));
    frame.mLength = ReadWord(bytes + 16);
    return frame.mLength == size - kHeaderSize;
}

} // namespace Standin
