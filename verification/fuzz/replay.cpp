#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "verification/fuzz/fuzzing.h"

/**
 * Tests every file in the folders on the command line, in the order of names. Prints each name
 * before the test, so that the last one printed is the failing one. A missing folder counts as
 * empty, but it is a failure if there is no input at all.
 */
int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        std::error_code missing;
        const std::filesystem::directory_iterator entries(argv[i], missing);
        std::vector<std::filesystem::path> files(begin(entries), end(entries));
        std::sort(files.begin(), files.end());
        for (const std::filesystem::path& file : files) {
            fprintf(stderr, "%s\n", file.c_str());
            std::ifstream stream(file, std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    fprintf(stderr, "%d inputs\n", inputs);
    return inputs != 0 ? 0 : 1;
}
