// SPDX-License-Identifier: Apache-2.0
// Runs a harness over the files of a folder, or over single files, without a fuzzer: on any machine, with any compiler.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size);

namespace {

bool run(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    // Named before, since an input that breaks a rule ends the program.
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int count, char **arguments) {
    unsigned files = 0;
    for (int i = 1; i < count; ++i) {
        const std::filesystem::path path = arguments[i];
        std::vector<std::filesystem::path> found{path};
        if (std::filesystem::is_directory(path)) {
            found.assign(std::filesystem::directory_iterator(path), {});
        }
        for (const auto &file : found) {
            if (!run(file)) {
                std::fprintf(stderr, "%s cannot be read\n", file.c_str());
                return 1;
            }
            ++files;
        }
    }
    if (files == 0) {
        std::fputs("no inputs: name files, or folders of them\n", stderr);
    }
    return files == 0 ? 1 : 0;
}
