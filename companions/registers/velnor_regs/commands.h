#pragma once

#include <string>
#include <vector>

#include "companions/registers/velnor_regs/answer.h"

namespace regs {

/** What the command line asks of a command. */
struct Request {
    std::string design;
    std::vector<std::string> operands;
    bool yes = false;
    bool force = false;
    std::string format;
    bool json = false;
    /** Of a watch: milliseconds between looks, and lines to write; 0 is no end. */
    std::uint32_t interval = 100;
    std::uint64_t count = 0;
};

/** Each has its operands, and throws Failure where it has no answer. */
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

/** These write their output themselves, and give the exit value. */
int Export(const Request& request);
int Watch(const Request& request);

}  // namespace regs
