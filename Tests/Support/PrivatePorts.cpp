// PrivatePorts.cpp - gives a test program, and every program that it starts, message ports of its
// own. They are not those of other tests or of a server that runs already. Nothing calls it.

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
        // Not in a forked child that ends with exit.
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
