// Image.cpp - the header of ELF files.

#include "Tools/Host/Image.h"

#include <array>
#include <bit>
#include <fstream>
#include <string_view>

namespace Host {
namespace {

struct Machine
{
    unsigned number; ///< in the header; 0 for one that is not known here
    bool is64Bit;
    bool isBigEndian;

    bool operator==(const Machine&) const = default;
};

#if defined(__x86_64__)
constexpr unsigned kOwnNumber = 62;
#elif defined(__powerpc__) && !defined(__powerpc64__)
constexpr unsigned kOwnNumber = 20;
#elif defined(__aarch64__)
constexpr unsigned kOwnNumber = 183;
#elif defined(__i386__)
constexpr unsigned kOwnNumber = 3;
#else
constexpr unsigned kOwnNumber = 0;
#endif

constexpr Machine kOwn = {kOwnNumber, sizeof(void*) == 8, std::endian::native == std::endian::big};

std::string Describe(const Machine& machine)
{
    switch (machine.number) {
    case 3:
        return "x86";
    case 20:
        return "32-bit PowerPC";
    case 21:
        return machine.isBigEndian ? "64-bit PowerPC" : "64-bit little-endian PowerPC";
    case 40:
        return "32-bit ARM";
    case 62:
        return "x86-64";
    case 183:
        return "64-bit ARM";
    default:
        return "another machine";
    }
}

} // namespace

std::string DescribeForeignImage(const std::string& path)
{
    std::array<char, 20> header{};
    std::ifstream file(path, std::ios::binary);
    constexpr std::string_view kMagic = "\177ELF";
    if (!file.read(header.data(), header.size()) ||
        std::string_view(header.data(), kMagic.size()) != kMagic) {
        return "";
    }
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(header[index]); };
    const bool isBigEndian = byte(5) == 2;
    const unsigned first = byte(18);
    const unsigned second = byte(19);
    const unsigned number = isBigEndian ? first << 8U | second : second << 8U | first;
    const Machine machine = {number, byte(4) == 2, isBigEndian};
    if (kOwnNumber == 0 || machine == kOwn) {
        return "";
    }
    return "it is for " + Describe(machine) + ", and this qxhost is for " + Describe(kOwn);
}

} // namespace Host
