#pragma once

#include <string>
#include <vector>

#include "companions/registers/velnor_regs/answer.h"

namespace regs {

/** The command line of a command. */
struct Request {
    std::string design;
    std::vector<std::string> operands;
    bool yes = false;
    bool force = false;
    std::string format;
    bool json = false;
    /** For watch: milliseconds between polls, and lines to print; 0 for no limit. */
    std::uint32_t interval = 100;
    std::uint64_t count = 0;
};

/** Each expects all its operands, and throws Failure if it has no answer. */
Answer List(const Request& request);
Answer Dump(const Request& request);
Answer Find(const Request& request);
Answer At(const Request& request);
Answer Show(const Request& request);
Answer Decode(const Request& request);
Answer Read(const Request& request);
Answer Write(const Request& request);
Answer Paths(const Request& request);
Answer Diff(const Request& request);

/** These print their output themselves, and return the exit value. */
int Export(const Request& request);
int Watch(const Request& request);

}  // namespace regs
