// Gives every file below the folders that are named to one fuzz target, as a test of any build:
//   message_replay fuzz/seeds/message

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::string bytes_of(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int replay(const std::filesystem::path& folder) {
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        const std::string name = entry.path().string();
        std::printf("%s\n", name.c_str());  // a crash is of the last one named
        std::fflush(stdout);
        const std::string input = bytes_of(entry.path());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        ++count;
    }
    return count;
}

}  // namespace

int main(int count, char** arguments) {
    try {
        int inputs = 0;
        for (int index = 1; index < count; ++index) inputs += replay(arguments[index]);
        if (inputs > 0) return EXIT_SUCCESS;
        std::fprintf(stderr, "there is no input\n");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return EXIT_FAILURE;
}
