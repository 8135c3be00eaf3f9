// DeviceMessageSerializer.cpp - laying out a set-parameter message.

#include "DriverPlugIn/DeviceMessageSerializer.h"

#include "Protocol/ServerProtocol.h"

#include <cstdint>
#include <limits>

namespace {

constexpr UInt32 kFailure = static_cast<UInt32>(QX::kResultFailure);

// Resizing the buffer frees the value's data in that case. A buffer without a block holds no
// address.
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
    // Without memory, and in a buffer that does not grow, the last byte is not there.
    if (buffer->GetPtr<unsigned char>(messageSize - 1) == nullptr) {
        return kFailure;
    }
    *buffer->GetPtr<UInt32>(kMessageLengthOffset) = messageSize;
    *buffer->GetPtr<UInt32>(kMessageReservedOffset) = 0;
    *buffer->GetPtr<UInt32>(kMessageParameterOffset) = parameterID;
    return QX::Variant::Serialize(value, buffer->GetPtr<unsigned char>(kMessageValueOffset),
                                  dataSize + kSerializedValueHeaderSize);
}
