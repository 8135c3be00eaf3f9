// PrivatePorts.cpp - gives a test program, and every program that it starts, message ports of its
// own. They are not those of other tests or of a server that runs already. Nothing calls it.

#include "Support/TemporaryFolder.h"

#include <cstdlib>

namespace {

class PrivatePorts
{
public:
    PrivatePorts()
    {
        if (setenv("XDG_RUNTIME_DIR", mFolder.GetPath().c_str(), 1) != 0) {
            std::abort();
        }
    }

private:
    const TestSupport::TemporaryFolder mFolder;
};

const PrivatePorts gPrivatePorts;

} // namespace
