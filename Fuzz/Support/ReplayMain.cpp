// ReplayMain.cpp - runs a fuzz target once on each file of the folders that its arguments name.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argumentCount, char** arguments)
{
    size_t inputCount = 0;
    for (int index = 1; index < argumentCount; ++index) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[index])) {
            // A failing input ends the process, so its name goes out first.
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            // A block of exactly the input's size lets a sanitizer see a read after its end.
            std::vector<uint8_t> bytes(static_cast<size_t>(entry.file_size()));
            std::ifstream file(entry.path(), std::ios::binary);
            file.read(reinterpret_cast<char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
            if (!file) {
                std::fprintf(stderr, "the input cannot be read\n");
                return 1;
            }
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++inputCount;
        }
    }
    if (inputCount == 0)
        std::fprintf(stderr, "no input was found\n");
    return inputCount > 0 ? 0 : 1;
}
