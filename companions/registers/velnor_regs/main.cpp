/**
 * velnor_regs: looks into the register maps of the five designs, and into the live card through
 * them.
 */
#include <algorithm>
#include <cstdio>
#include <iostream>

#include "companions/commandline/commandline.h"
#include "companions/commandline/failure.h"
#include "companions/registers/export/export.h"
#include "companions/registers/velnor_regs/commands.h"
#include "companions/registers/velnor_regs/failure.h"
#include "cpputils/include/standarddescriptors.h"

namespace regs {

namespace {

/** The design of the frame's switcher mode when nobody has chosen one. */
constexpr char DEFAULT_DESIGN[] = "mm_fcfs";

constexpr char PATH_HELP[] = "A path as the code reads: sbuf.chip_misc[0].R_debug.value";
constexpr char PLACE_HELP[] = "Such a path, one that ends at a group, or an address";
constexpr char VALUES_HELP[] =
    "The whole word, decimal or 0x and hexadecimal; for a group one after the other";
constexpr char VALUE_HELP[] = "A number, decimal or 0x and hexadecimal";
constexpr char DESIGN_HELP[] = "One of the designs that list shows";

struct Operand {
    const char* name;
    const char* help;
    bool required = true;
    bool repeats = false;
};

struct RegsCommand {
    const char* name;
    Answer (*run)(const Request& request);
    const char* help;
    bool takesDesign;
    std::vector<Operand> operands;
    /** In place of `run`, for a command that writes its output itself. */
    int (*stream)(const Request& request) = nullptr;
};

const RegsCommand COMMANDS[] = {
    {"list", List, "The designs, or the groups of one", false, {{"DESIGN", DESIGN_HELP, false}}},
    {"dump",
     Dump,
     "Every object of a design, in order of construction",
     false,
     {{"DESIGN", DESIGN_HELP}}},
    {"find",
     Find,
     "Groups, registers, memories and fields by a part of the name or the description",
     true,
     {{"TEXT",
       "Part of a name, of a path up to its end, or of a description; case doesn't matter"}}},
    {"at",
     At,
     "What lies at an address",
     true,
     {{"ADDRESS", "Bytes from the design's base, decimal or 0x and hexadecimal"}}},
    {"show",
     Show,
     "A word as a row of bits with its fields, or the members of a group",
     true,
     {{"PLACE", PLACE_HELP}}},
    {"decode",
     Decode,
     "What a word's value says in each field",
     true,
     {{"PLACE", PLACE_HELP}, {"VALUE", VALUES_HELP, true, true}}},
    {"read",
     Read,
     "A word or a group of the live card, /resource0, with the fields",
     true,
     {{"PLACE", PLACE_HELP}}},
    {"write",
     Write,
     "Stores into a word or a field of the live card, /resource0",
     true,
     {{"PATH", PATH_HELP}, {"VALUE", VALUE_HELP}}},
    {"diff",
     Diff,
     "What isn't the same in two designs",
     false,
     {{"DESIGN", DESIGN_HELP}, {"OTHER", DESIGN_HELP}}},
    {"watch",
     nullptr,
     "A line for each change of words or fields of the live card, /resource0",
     true,
     {{"PLACE", PLACE_HELP, true, true}},
     Watch},
    {"export", nullptr, "The map of a design as a file for other tools", true, {}, Export},
    {"paths",
     Paths,
     "How a path can go on; for completion",
     true,
     {{"BEGINNING", "What of the path is written", false}}},
};

struct RegsSettings {
    const RegsCommand* command = nullptr;
    Request request;
    /** The operands of the last kind, if it repeats. */
    std::vector<std::string> more;
};

std::vector<std::string> FormatNames() {
    std::vector<std::string> names;
    names.reserve(EXPORT_FORMATS.size());
    for (const ExportFormat& format : EXPORT_FORMATS) {
        names.emplace_back(format.name);
    }
    return names;
}

void AddCommand(commandline::Program& program, const RegsCommand& command, RegsSettings& settings) {
    const commandline::CommandOptions sub = program.subcommand(
        command.name, command.help, [&settings, &command] { settings.command = &command; });
    if (command.stream == nullptr) {
        sub.flag("--json", settings.request.json, "Answer as one JSON object, numbers in decimal");
    }
    if (command.takesDesign) {
        sub.option("--design", settings.request.design, DESIGN_HELP)
            .typeName("DESIGN")
            .showDefault();
    }
    if (command.run == Write) {
        sub.flag("--yes", settings.request.yes, "Really change the card");
        sub.flag("--force", settings.request.force,
                 "Write even while a tolmira_upgrade is at work, or if the place is read-only");
    }
    if (command.stream == Watch) {
        sub.flag("--json", settings.request.json, "A JSON object a line, numbers in decimal");
        sub.option("--interval", settings.request.interval, "Milliseconds between two looks")
            .showDefault()
            .inRange(1, 3600000);
        sub.option("--count", settings.request.count, "Stop after so many lines; 0: never");
    }
    if (command.run == Read || command.stream == Watch) {
        sub.flag("--force", settings.request.force, "Read even if the read clears bits");
    }
    if (command.stream == Export) {
        sub.option("--format", settings.request.format,
                   "c (C99 and C++), csv, svd (CMSIS-SVD 1.3) or systemrdl (SystemRDL 2.0)")
            .required()
            .oneOf(FormatNames());
    }
    const auto takeOperand = [&settings](const std::string& text) {
        settings.request.operands.push_back(text);
    };
    for (const Operand& operand : command.operands) {
        if (operand.repeats) {
            sub.option(operand.name, settings.more, operand.help).required(operand.required);
        } else {
            sub.option(operand.name, takeOperand, operand.help).required(operand.required);
        }
    }
}

/** The whole program; what ends it early passes through. */
int Run(int argc, const char* const* argv) {
    RegsSettings settings;
    settings.request.design = DEFAULT_DESIGN;
    commandline::Program program(
        "Looks into the register maps of the five designs.\n"
        "Addresses are bytes from the base of the card's address space. In a path, what stands\n"
        "once may leave out its [0]; the last index of a memory is its word.\n"
        "Exit value: 0 done, 1 nothing there or a difference found, 2 wrong usage.",
        "velnor_regs");
    program.version(TOLMIRA_VERSION);
    for (const RegsCommand& command : COMMANDS) {
        AddCommand(program, command, settings);
    }
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    settings.request.operands.insert(settings.request.operands.end(), settings.more.begin(),
                                     settings.more.end());
    if (settings.command->stream != nullptr) {
        return settings.command->stream(settings.request);
    }
    const Answer answer = settings.command->run(settings.request);
    (settings.request.json ? PrintAsJson : PrintAsText)(std::cout, answer);
    return answer.exitValue;
}

}  // namespace

}  // namespace regs

// Out of memory, the program may end as the library ends it.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try {
        return regs::Run(argc, argv);
    } catch (const regs::Failure& failure) {
        const bool json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
        commandline::ReportFailure("velnor_regs", failure.what(), failure.exitValue, json);
        return failure.exitValue;
    }
}
