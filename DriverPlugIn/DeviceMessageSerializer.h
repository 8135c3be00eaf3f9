// DeviceMessageSerializer.h - the bytes of a set-parameter message.
//
//     RCPtr<LIBuffer> message = LByteBuffer::Create(0, 0, true);
//     DeviceMessageSerializer::CreateSetParamMessage(kDirectMonitorStateParameter, one, message);
//     // on a big-endian host: 0000001C 00000000 FFFFFF05, 10000000 00000000 02000000 01000000
#pragma once

#include <CoreServices/CoreServices.h>

#include <QX/Buffer.h>
#include <QX/RCPtr.h>
#include <QX/Variant.h>

class DeviceMessageSerializer
{
public:
    DeviceMessageSerializer() = delete;

    /// Makes the buffer exactly as large as the message, writes the message into it, and returns
    /// the length of its serialized value.
    ///
    /// Fails: QX::kResultFailure as an unsigned number. The buffer is as it was if there is none,
    /// if the message would not fit 32 bits or if the value's data lies inside the buffer. Its
    /// block is null if there is no memory. A value that cannot be serialized leaves a message
    /// whose three header words are right and whose value bytes are not written.
    static UInt32 CreateSetParamMessage(UInt32 parameterID, const QX::Variant& value,
                                        const QX::RCPtr<QX::LIBuffer>& buffer);
};
