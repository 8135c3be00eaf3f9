// Filter.h - which messages the monitor takes: those of some devices, parameters and IDs.
#pragma once

#include "Tools/Monitor/Term.h"

namespace Monitor {

/// Lets every message through until something is asked for.
///
/// Of several devices (or parameters, or message IDs) one is enough; a message has to be right in
/// all three respects. A message without a device is none of any device.
class Filter
{
public:
    /// Asks for messages of that device, parameter or message ID; `value` is as in an expression.
    /// Returns what is wrong with it, or "".
    std::string Add(Subject subject, const std::string& value);

    bool LetsThrough(const DecodedMessage& message) const;

private:
    std::vector<Term> mTerms;
};

} // namespace Monitor
