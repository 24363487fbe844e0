#include "companions/operator/run/operands.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace run {

std::optional<Operands> ReadOperands(const std::vector<std::string>& words) {
    std::vector<char*> argv = {const_cast<char*>("tolmira_upgrade")};
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    const auto argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    Operands operands;
    int options = 0;
    opterr = 0;  // the tool reports an unknown option itself
    optind = 0;
    for (int option = getopt(argc, argv.data(), "f"); option != -1;
         option = getopt(argc, argv.data(), "f")) {
        ++options;
        operands.force = operands.force || option == 'f';
    }
    if (argc != 3 + options) {
        return std::nullopt;
    }
    // getopt has moved the options to the front.
    const char* image = argv[static_cast<std::size_t>(options) + 1];
    operands.image = image;
    operands.configuration = argv[static_cast<std::size_t>(options) + 2];
    operands.imageAt = static_cast<std::size_t>(
        std::find_if(words.begin(), words.end(),
                     [&](const std::string& word) { return word.c_str() == image; }) -
        words.begin());
    return operands;
}

}  // namespace run
