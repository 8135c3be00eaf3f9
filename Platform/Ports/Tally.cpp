// Tally.cpp - making and mapping the memory of a tally.

#include "Ports/Tally.h"

#include <sys/mman.h>
#include <sys/stat.h>

namespace Standin {

namespace {

constexpr std::size_t kSize = 4096;

} // namespace

Tally::~Tally()
{
    if (mWords != nullptr) {
        munmap(mWords, kSize);
    }
}

Tally Tally::MapAt(int file)
{
    void* const memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    Tally tally;
    tally.mWords = memory != MAP_FAILED ? static_cast<Words*>(memory) : nullptr;
    return tally;
}

Tally Tally::Make(FileDescriptor& file)
{
    file = FileDescriptor(memfd_create("qx-port", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    Tally tally;
    if (file && ftruncate(file.Get(), kSize) == 0 &&
        fcntl(file.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_SEAL) == 0) {
        tally = MapAt(file.Get());
    }
    if (!tally) {
        file.Close();
    }
    return tally;
}

Tally Tally::Map(const FileDescriptor& file)
{
    struct stat info = {};
    const int seals = fcntl(file.Get(), F_GET_SEALS);
    // Reading memory beyond the end of the file would kill the process, so the client must not be
    // able to make the file shorter.
    if (seals < 0 || (seals & F_SEAL_SHRINK) == 0 || fstat(file.Get(), &info) != 0 ||
        info.st_size < static_cast<off_t>(kSize)) {
        return Tally();
    }
    return MapAt(file.Get());
}

} // namespace Standin
