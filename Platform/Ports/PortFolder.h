// PortFolder.h - the folder of all ports of a user, which only this user can enter.
#pragma once

#include "Ports/FileDescriptor.h"

#include <string>

namespace Standin {

/// Opens the folder of all ports, which is made if it is not there: `qx-ports` in the first of
/// $XDG_RUNTIME_DIR, /run/user/UID and the home's .cache that is a folder of this user's.
///
/// Fails: returns no descriptor and stores the reason in `fault`, if the user has none of these
/// folders, or `qx-ports` is a link, another user's or open to others.
FileDescriptor OpenPortFolder(std::string& fault);

} // namespace Standin
