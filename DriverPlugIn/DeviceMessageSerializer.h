// DeviceMessageSerializer.h - the bytes of a set-parameter message.
//
//     const SInt32 one = 1;
//     QX::Variant value;
//     value.Set(QX::Variant::kInt32, &one, sizeof(one));
//     QX::RCPtr<QX::LIBuffer> message = QX::LByteBuffer::Create(0, 0, true);
//     DeviceMessageSerializer::CreateSetParamMessage(kDirectMonitorStateParameter, value, message);
//     // on a big-endian host: 0000001C 00000000 FFFFFF05, 10000000 00000000 02000000 01000000
#pragma once

#include <CoreServices/CoreServices.h>

#include <QX/Buffer.h>
#include <QX/RCPtr.h>
#include <QX/Variant.h>

/// Has one static operation; no object of it is made.
class DeviceMessageSerializer
{
public:
    DeviceMessageSerializer() = delete;

    /// Makes the buffer exactly as large as the message, writes the message into it, and returns
    /// the length of its serialized value in bytes.
    ///
    /// Fails: QX::kResultFailure, as an unsigned number. For a null `buffer`, for a message that
    /// does not fit 32 bits and for a value whose data lies inside the buffer, nothing changes.
    /// Without memory, the buffer has no block afterwards. A buffer that stays too small is not
    /// written to. A value that cannot be serialized leaves the three header words written and the
    /// value bytes not initialised.
    ///
    /// Throws: what the operations of a derived value or buffer throw. Threads: any, while no other
    /// thread uses the value or the buffer.
    static UInt32 CreateSetParamMessage(UInt32 parameterID, const QX::Variant& value,
                                        const QX::RCPtr<QX::LIBuffer>& buffer);
};
