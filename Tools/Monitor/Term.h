// Term.h - one condition on a message, such as device=258 or level<-20.
//
// A term about something that the message does not carry does not hold. Of a malformed message only
// the device, the channel, the parameter and the message ID count, as far as they could be read:
// its value sets nothing.
#pragma once

#include "Tools/Monitor/Message.h"

#include <string>

namespace Monitor {

enum class Subject
{
    kDevice,
    kChannel,
    kParameter,
    kMessage, ///< the message ID
    kEnable,
    kState,
    kLevel,    ///< one of the two levels, in decibels rounded to the two digits that are shown
    kMalformed ///< has neither comparison nor value
};

enum class Comparison
{
    kEqual,
    kUnequal,
    kLess,
    kLessOrEqual,
    kGreater,
    kGreaterOrEqual
};

struct Term
{
    Subject subject = Subject::kMalformed;
    Comparison comparison = Comparison::kEqual;
    SInt64 number = 0;
    double level = 0; ///< instead of `number`, for kLevel

    bool Holds(const DecodedMessage& message) const;
};

/// Reads the value of a term into it, as its subject takes it: a number, enable, level or state for
/// a parameter, a number or four characters for a message. Returns what is wrong, or "".
std::string ReadTermValue(Term& term, const std::string& text);

} // namespace Monitor
