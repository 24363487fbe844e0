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
Answer Diff(const Request& request);

/** Writes the text itself, since it is another program's and no Answer. The exit value. */
int Export(const Request& request);

}  // namespace regs
