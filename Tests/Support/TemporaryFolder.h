// TemporaryFolder.h - a folder that goes with its owner.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

namespace TestSupport {

/// A new folder, which only this user can enter. It is deleted with all that is in it, but not by a
/// forked child that ends with exit.
class TemporaryFolder
{
public:
    /// Throws std::system_error if there can be none.
    TemporaryFolder()
    {
        std::string path = std::filesystem::temp_directory_path() / "qx-test-XXXXXX";
        if (mkdtemp(path.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), path);
        }
        mPath = path;
    }
    ~TemporaryFolder()
    {
        if (getpid() == mOwner) {
            std::error_code ignored;
            std::filesystem::remove_all(mPath, ignored);
        }
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& GetPath() const { return mPath; }
    std::string operator/(const std::string& name) const { return (mPath / name).string(); }

private:
    const pid_t mOwner = getpid();
    std::filesystem::path mPath;
};

} // namespace TestSupport
