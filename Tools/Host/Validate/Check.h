// Check.h - one rule that a bundle has to keep, and how it is tried.
#pragma once

#include "Tools/Host/Validate/Bench.h"

#include <functional>
#include <string>
#include <vector>

namespace Validate {

// What checks are about. --only takes these as well as names.
inline constexpr const char* kEntryPointsTag = "entry-points";
inline constexpr const char* kRegistryTag = "registry";
inline constexpr const char* kDispatchTag = "dispatch";
inline constexpr const char* kMessagesTag = "messages";
inline constexpr const char* kFaultsTag = "faults";
inline constexpr const char* kThreadsTag = "threads";
inline constexpr const char* kLifetimeTag = "lifetime";

struct Check
{
    std::string name; ///< words with hyphens
    const char* tag;
    std::string rule; ///< one sentence
    std::function<void(Bench&)> run;

    /// Nothing else is tried if this fails.
    bool isGate = false;
    /// Ends its process by the C library's exit, which destroys the bundle's static objects.
    bool endsByExit = false;
    /// Is about output. If it fails, what is printed is not held against other checks as well.
    bool isAboutOutput = false;
};

using Checks = std::vector<Check>;

/// All checks of a profile, in the order in which they are tried.
Checks MakeChecks(const Profile& profile);

// The parts of that list.
void AddEntryPointChecks(Checks& checks);
void AddOutputChecks(Checks& checks);
void AddRegistryChecks(Checks& checks);
void AddDispatchChecks(Checks& checks, const Profile& profile);
void AddStreamChecks(Checks& checks);
void AddMessageChecks(Checks& checks, const Profile& profile);
void AddFaultChecks(Checks& checks, const Profile& profile);
void AddThreadChecks(Checks& checks);
void AddLifetimeChecks(Checks& checks);

} // namespace Validate
