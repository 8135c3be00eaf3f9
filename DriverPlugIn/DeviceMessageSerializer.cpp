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

bool StoreHostWord(QX::LIBuffer& buffer, UInt32 offset, UInt32 word)
{
    auto* const slot = buffer.GetPtr<UInt32>(offset);
    if (slot == nullptr) {
        return false;
    }
    *slot = word;
    return true;
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
    if (!StoreHostWord(*buffer, kMessageLengthOffset, messageSize) ||
        !StoreHostWord(*buffer, kMessageReservedOffset, 0) ||
        !StoreHostWord(*buffer, kMessageParameterOffset, parameterID)) {
        return kFailure;
    }
    return QX::Variant::Serialize(value, buffer->GetPtr<unsigned char>(kMessageValueOffset),
                                  dataSize + kSerializedValueHeaderSize);
}
