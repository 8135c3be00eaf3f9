// Step.h - one thing that the host does: a call of an entry point, or a pause.
#pragma once

#include "Tools/Recording/EntryPoint.h"

#include <CoreServices/CoreServices.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

using Recording::Action;
using Recording::GetEntryPointName;
using Recording::IsStream;

struct Step
{
    Action action = Action::kSleep;
    std::optional<UInt32> device; ///< none: the device opened last
    UInt32 property = 0;          ///< its selector
    UInt32 channel = 0;
    Boolean isInput = 1;
    std::vector<unsigned char> data; ///< what is set, in this host's byte order; its size is passed
    std::string valueText;           ///< what is set, as its user wrote it
    UInt32 size = 0;                 ///< the data size that is passed
    double seconds = 0;              ///< of a pause
    bool isAnyExpected = false;
    SInt32 expected = 0; ///< the status that the step is to give
};

/// A property by name or code: the three of direct monitoring, and any other.
struct Property
{
    UInt32 selector;
    UInt32 size;      ///< of its data
    bool isLevel;     ///< two gains, on channel 1 unless another is said
    const char* name; ///< "" for a property that has none
};

/// "enable", "level", "state".
std::vector<std::string> GetPropertyNames();

/// Finds a property by its name (enable, level, state), four-character code or hexadecimal
/// selector. A property that is not of direct monitoring is taken as one word. A name with a letter
/// wrong is none, though it may have four characters; in single quotes it is a code.
std::optional<Property> FindProperty(std::string_view text);
Property GetProperty(UInt32 selector);

/// Returns a step of that action on a property, with the channel, the data size and the status that
/// fit: reads answer 'unop', since the properties can only be set, and streams 'who?'.
Step MakeStep(Action action, const Property& property);

/// Gives a set step its value. Returns false if the words are no value of the property: one number,
/// on or off; or two gains.
bool SetValue(Step& step, const Property& property, const std::vector<std::string>& words);

/// Gives a step the data size that is passed; data to be set is cut or continued with zeros.
void SetSize(Step& step, UInt32 size);

/// No size passed to a call is larger than this.
inline constexpr UInt32 kLargestSize = 65536;

} // namespace Host
