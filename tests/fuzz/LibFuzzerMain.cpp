// Lets libFuzzer run a target. With --write=FOLDER the target writes its seeds, to FOLDER/seeds, and its
// dictionary, to FOLDER/words, and ends.
#include "tests/fuzz/FuzzTarget.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

void writeSeeds(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    std::size_t number = 0;
    for (const fuzz::Bytes& seed : fuzz::seeds()) {
        std::ofstream file(folder / std::to_string(number++), std::ios::binary);
        file.write(reinterpret_cast<const char*>(seed.data()), static_cast<std::streamsize>(seed.size()));
    }
}

/// One word a line, as "\xff\x00".
void writeWords(const std::filesystem::path& path) {
    std::ofstream file(path);
    for (const fuzz::Bytes& word : fuzz::words()) {
        file << '"';
        for (const std::uint8_t byte : word) {
            constexpr std::string_view kDigits = "0123456789abcdef";
            file << "\\x" << kDigits[byte >> 4U] << kDigits[byte & 15U];
        }
        file << "\"\n";
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    constexpr std::string_view kWrite = "--write=";
    for (int i = 1; i < *argc; ++i) {
        const std::string_view argument = (*argv)[i];
        if (argument.starts_with(kWrite)) {
            const std::filesystem::path folder(argument.substr(kWrite.size()));
            writeSeeds(folder / "seeds");
            writeWords(folder / "words");
            std::exit(EXIT_SUCCESS);
        }
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::runBytes({data, size});
    return 0;
}
