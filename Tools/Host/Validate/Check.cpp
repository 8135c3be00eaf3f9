// Check.cpp - the list of all checks.

#include "Tools/Host/Validate/Check.h"

namespace Validate {

Checks MakeChecks(const Profile& profile)
{
    Checks checks;
    AddEntryPointChecks(checks);
    AddOutputChecks(checks);
    AddRegistryChecks(checks);
    AddDispatchChecks(checks, profile);
    AddStreamChecks(checks);
    AddMessageChecks(checks, profile);
    AddFaultChecks(checks, profile);
    AddThreadChecks(checks);
    AddLifetimeChecks(checks);
    return checks;
}

} // namespace Validate
