// Expectation.h - the messages that a set has to send, and how those that came differ from them.
#pragma once

#include "Tools/Host/Validate/Caller.h"
#include "Tools/Host/Validate/Profile.h"

#include <string>
#include <vector>

namespace Validate {

/// A message that has arrived.
struct Message
{
    SInt32 id = 0;
    Bytes data;
};

/// A message that is to arrive: its rule, and what it is to say.
struct ExpectedMessage
{
    MessageRule rule;
    UInt32 device = 0;
    UInt32 channel = 0;
    PropertyRules::Value value = PropertyRules::Value::kWord;
    Bytes data; ///< of the set: a word, or two gains
};

/// What a set of a property sends.
std::vector<ExpectedMessage> ListMessages(const PropertyRules& property, const Request& request);

/// Compares what came with what is to come, in order. Returns the first difference in words, or "".
std::string CompareMessages(const Profile& profile, const std::vector<Message>& messages,
                            const std::vector<ExpectedMessage>& expected);

/// A word or two gains as the bytes of a set.
Bytes MakeWord(UInt32 word);
Bytes MakeGains(Float32 first, Float32 second);

} // namespace Validate
