// Fault.h - what is wrong with the server that qxmon serve is.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Monitor {

enum class Profile
{
    kSlow,
    kSilent,
    kRefuse,
    kDieAfter,
    kGarbageReply
};

struct Fault
{
    Profile profile = Profile::kSlow;
    double seconds = 1;       ///< of kSlow: what it waits before each message
    std::size_t messages = 1; ///< of kRefuse and kDieAfter: the last one that is taken
};

/// Reads the words of --profile: a name, and a number where the profile has one. Stores what is
/// wrong, or "", in `wrong`.
Fault ReadFault(const std::vector<std::string>& words, std::string& wrong);

} // namespace Monitor
