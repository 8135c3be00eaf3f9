// DeviceMessageSerializer.cpp - writes a set-parameter message.

#include "DriverPlugIn/DeviceMessageSerializer.h"

#include "Protocol/ServerProtocol.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr UInt32 kFailure = static_cast<UInt32>(QX::kResultFailure);

// Returns whether the data lies in the buffer's block: resizing the buffer would then free it.
// Nothing lies in a buffer without a block.
bool LiesInside(const void* data, QX::LIBuffer& buffer)
{
    const auto start = reinterpret_cast<std::uintptr_t>(buffer.GetRawPtr());
    const auto address = reinterpret_cast<std::uintptr_t>(data);
    return start != 0 && address >= start && address - start < buffer.GetAllocatedSize();
}

} // namespace

UInt32 DeviceMessageSerializer::CreateSetParamMessage(UInt32 parameterID, const QX::Variant& value,
                                                      const QX::RCPtr<QX::LIBuffer>& buffer)
{
    UInt32 dataSize = 0;
    const void* const data = value.GetConstPointer(dataSize);
    if (buffer == nullptr || LiesInside(data, *buffer) ||
        dataSize > std::numeric_limits<UInt32>::max() - kMessageOverhead) {
        return kFailure;
    }
    const UInt32 messageSize = dataSize + kMessageOverhead;
    buffer->SetSizeBytes(messageSize);
    // The last byte is missing if there is no memory or the buffer cannot grow.
    if (buffer->GetPtr<unsigned char>(messageSize - 1) == nullptr) {
        return kFailure;
    }
    auto* const message = static_cast<unsigned char*>(buffer->GetRawPtr());
    const auto storeHostWord = [message](UInt32 offset, UInt32 word) {
        std::memcpy(message + offset, &word, sizeof word);
    };
    storeHostWord(kMessageLengthOffset, messageSize);
    storeHostWord(kMessageReservedOffset, 0);
    storeHostWord(kMessageParameterOffset, parameterID);
    return QX::Variant::Serialize(value, message + kMessageValueOffset,
                                  dataSize + kSerializedValueHeaderSize);
}
