// PortHolder.h - who holds the server's port when this process cannot have it.
#pragma once

#include <string>

namespace Monitor {

/// Returns, for example, "process 4711 (qxmon)", or "another process" where the platform does not
/// tell.
std::string DescribePortHolder();

} // namespace Monitor
