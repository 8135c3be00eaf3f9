// OpenedFiles.h - which files anything in this process opens, apart from the platform's own.
//
// The functions of the C library that open files are replaced in the whole program; while nobody
// watches they only pass on.
#pragma once

#include <string>

namespace Validate {

/// Watches from its construction to its end. One at a time.
///
/// The bundle's own file, `image`, does not count: the host itself looks at it before it loads it.
class OpenedFiles
{
public:
    explicit OpenedFiles(const std::string& image);
    ~OpenedFiles();
    OpenedFiles(const OpenedFiles&) = delete;
    OpenedFiles& operator=(const OpenedFiles&) = delete;

    /// The first path that was opened, or "".
    std::string GetFirst() const;
};

} // namespace Validate
