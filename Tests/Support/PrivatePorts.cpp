// PrivatePorts.cpp - gives a test program, and every program that it starts, message ports of its
// own: it meets neither another test nor a server that somebody runs. Nothing calls it.

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

class PrivatePorts
{
public:
    PrivatePorts()
    {
        std::string path = std::filesystem::temp_directory_path() / "qx-test-XXXXXX";
        if (mkdtemp(path.data()) == nullptr || setenv("XDG_RUNTIME_DIR", path.c_str(), 1) != 0) {
            std::abort();
        }
        mPath = path;
    }
    PrivatePorts(const PrivatePorts&) = delete;
    PrivatePorts& operator=(const PrivatePorts&) = delete;
    ~PrivatePorts()
    {
        // Not a child that has ended in the way of its parent.
        if (getpid() == mOwner) {
            std::error_code ignored;
            std::filesystem::remove_all(mPath, ignored);
        }
    }

private:
    const pid_t mOwner = getpid();
    std::filesystem::path mPath;
};

const PrivatePorts gPrivatePorts;

} // namespace
