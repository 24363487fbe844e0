/**
 * velnor_regs: shows the register maps of the five designs, and reads and writes the live card
 * through them.
 */
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

/** The design of the frame's default switcher mode. */
constexpr char DEFAULT_DESIGN[] = "mm_fcfs";

constexpr char PATH_HELP[] = "Path in the code's notation: sbuf.chip_misc[0].R_debug.value";
constexpr char PLACE_HELP[] = "Path of a group, word or field, or an address";
constexpr char VALUES_HELP[] =
    "Value of the word, decimal or 0x and hexadecimal; for a group, of its words in order";
constexpr char VALUE_HELP[] = "A number, decimal or 0x and hexadecimal";
constexpr char DESIGN_HELP[] = "Name of a design; velnor_regs list shows them";

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
    {"list",
     List,
     "List the designs, or the groups of one",
     false,
     {{"DESIGN", DESIGN_HELP, false}}},
    {"dump",
     Dump,
     "Print every object of a design, in order of construction",
     false,
     {{"DESIGN", DESIGN_HELP}}},
    {"find",
     Find,
     "Find groups, registers, memories and fields by part of a name or description",
     true,
     {{"TEXT", "Part of a name, end of a path, or part of a description; case is ignored"}}},
    {"at",
     At,
     "Show what is at an address",
     true,
     {{"ADDRESS", "Bytes from the design's base, decimal or 0x and hexadecimal"}}},
    {"show",
     Show,
     "Show a word as a row of bits with its fields, or the members of a group",
     true,
     {{"PLACE", PLACE_HELP}}},
    {"decode",
     Decode,
     "Show the fields of a word's value",
     true,
     {{"PLACE", PLACE_HELP}, {"VALUE", VALUES_HELP, true, true}}},
    {"read",
     Read,
     "Read a word or a group of the live card, /resource0, with its fields",
     true,
     {{"PLACE", PLACE_HELP}}},
    {"write",
     Write,
     "Write a word or a field of the live card, /resource0",
     true,
     {{"PATH", PATH_HELP}, {"VALUE", VALUE_HELP}}},
    {"diff",
     Diff,
     "Show the differences between two designs",
     false,
     {{"DESIGN", DESIGN_HELP}, {"OTHER", DESIGN_HELP}}},
    {"watch",
     nullptr,
     "Print a line for each change of words or fields of the live card, /resource0",
     true,
     {{"PLACE", PLACE_HELP, true, true}},
     Watch},
    {"export", nullptr, "Print the map of a design as a file for other tools", true, {}, Export},
    {"paths",
     Paths,
     "List how a path can continue, for completion",
     true,
     {{"BEGINNING", "Beginning of the path", false}}},
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
        sub.flag("--json", settings.request.json, "Print one JSON object, with numbers in decimal");
    }
    if (command.takesDesign) {
        sub.option("--design", settings.request.design, DESIGN_HELP)
            .typeName("DESIGN")
            .showDefault();
    }
    if (command.run == Write) {
        sub.flag("--yes", settings.request.yes, "Confirm that the card is to be changed");
        sub.flag("--force", settings.request.force,
                 "Write even if a tolmira_upgrade is at work, the place is read-only or reading it "
                 "clears bits");
    }
    if (command.stream == Watch) {
        sub.flag("--json", settings.request.json,
                 "Print a JSON object per line, with numbers in decimal");
        sub.option("--interval", settings.request.interval, "Poll every N milliseconds")
            .showDefault()
            .inRange(1, 3600000);
        sub.option("--count", settings.request.count, "Exit after N lines; 0: never");
    }
    if (command.run == Read || command.stream == Watch) {
        sub.flag("--force", settings.request.force, "Read even if reading clears bits");
    }
    if (command.stream == Export) {
        sub.option("--format", settings.request.format,
                   "Format: c (C99 and C++), csv, svd (CMSIS-SVD 1.3) or systemrdl (SystemRDL 2.0)")
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

/** Throws Failure to end early. */
int RunCommand(const RegsCommand& command, const Request& request) {
    if (command.stream != nullptr) {
        return command.stream(request);
    }
    const Answer answer = command.run(request);
    (request.json ? PrintAsJson : PrintAsText)(std::cout, answer);
    return answer.exitValue;
}

int Run(int argc, const char* const* argv) {
    RegsSettings settings;
    settings.request.design = DEFAULT_DESIGN;
    commandline::Program program(
        "Shows the register maps of the five designs, and reads and writes the live card.\n"
        "Addresses are bytes from the base of the card's address space. In a path, [0] may be "
        "left\n"
        "out if nothing repeats; the last index of a memory is its word.\n"
        "Exit value: 0 done, 1 not found, refused or different, 2 wrong usage.",
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
    try {
        return RunCommand(*settings.command, settings.request);
    } catch (const Failure& failure) {
        commandline::ReportFailure("velnor_regs", failure.what(), failure.exitValue,
                                   settings.request.json);
        return failure.exitValue;
    }
}

}  // namespace

}  // namespace regs

// On std::bad_alloc the program may terminate.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return regs::Run(argc, argv);
}
