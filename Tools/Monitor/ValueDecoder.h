// ValueDecoder.h - the serialized value at the end of a set-parameter message.
#pragma once

#include "Tools/Monitor/FieldReader.h"

namespace Monitor {

/// Reads the value that begins at the reader's offset, and checks that it is what the message's
/// parameter takes: an integer for enable and state, a level record for the level.
///
/// Requires: the message's byte order is known; a level record is in that order.
void DecodeValue(DecodedMessage& message, FieldReader& fields);

} // namespace Monitor
