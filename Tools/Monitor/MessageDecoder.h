// MessageDecoder.h - turns what arrived at the server's port into a DecodedMessage.
//
//     const DecodedMessage message = DecodeRequest(id, data, size);
//     if (message.IsWellFormed()) { std::get<Levels>(message.value).first; }
//
// Both byte orders are understood: the length word at the message's offset 0 tells which one the
// sender has. Everything that is wrong becomes a finding, and as much as possible is still read, so
// that a driver's author sees the rest of a broken message too.
#pragma once

#include "Tools/Monitor/Message.h"

namespace Monitor {

/// Decodes one request: a message ID and the data that came with it.
DecodedMessage DecodeRequest(SInt32 id, const unsigned char* data, std::size_t size);

/// Decodes the set-parameter message inside a request's document, which is all of `message.bytes`,
/// into the other members of `message`.
void DecodeSetParameter(DecodedMessage& message);

} // namespace Monitor
