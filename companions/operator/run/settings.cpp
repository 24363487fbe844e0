#include "companions/operator/run/settings.h"

#include <fcntl.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

#include "companions/commandline/commandline.h"
#include "companions/digest/sha256.h"
#include "companions/operator/toollog/causes.h"

namespace run {

namespace {

/** In seconds. */
constexpr int LONGEST_WAIT = std::numeric_limits<uint16_t>::max();

constexpr char REPORT_OPTION[] = "--report";

std::string Column(const std::string& text, std::size_t width) {
    return text + std::string(text.size() < width ? width - text.size() : 1, ' ');
}

std::string UsualText(const toollog::CauseRow& row) {
    if (row.usualExit == toollog::BY_SIGNAL) {
        return "128+n";
    }
    return row.usualExit == toollog::TOOLS_OWN ? "tool's" : std::to_string(row.usualExit);
}

/** The exit values, a line for each cause. */
std::string ExitTable() {
    std::string table =
        "Exit values. 128+n: signal n ended the run; an abort is signal 6. With --check, an image "
        "that\nwould not be sent gives 1, as with tfi_inspect.\n\n"
        "  usual  by cause  cause\n";
    for (const toollog::CauseRow& row : toollog::CAUSE_ROWS) {
        table += "  " + Column(UsualText(row), 7) + Column(std::to_string(row.exitByCause), 10) +
                 row.words + "\n";
    }
    return table;
}

std::string NotADigest(const std::string& word) {
    return digest::ReadSha256(word) ? "" : "give 64 hexadecimal digits, not " + word;
}

std::string NotOpen(const std::string& word) {
    const int descriptor = atoi(word.c_str());
    return fcntl(descriptor, F_GETFD) >= 0 ? "" : "descriptor " + word + " is not open";
}

void AddReporting(const commandline::Program& program, RunSettings& settings) {
    program
        .option(REPORT_OPTION, settings.reportFile,
                "Write a JSON report of the run to FILE; - is standard output")
        .typeName("FILE");
    program.flag("--quiet", settings.quiet,
                 "Print errors only: no log, no progress and no closing line");
    program.flag(
        "--journal", settings.journal,
        "Send the log to the system's journal, if there is one, instead of standard output");
    const auto descriptor =
        program
            .option("--progress-fd", settings.progressDescriptor,
                    "Write --progress json to descriptor N, a line for each change")
            .typeName("N")
            .obeys(NotOpen);
    const auto form =
        program
            .option("--progress", settings.progress,
                    "Show the progress in this form; line, the default, needs a terminal")
            .typeName("FORM")
            .oneOf({PROGRESS_LINE, PROGRESS_JSON, PROGRESS_NONE});
    descriptor.needs(form);
    program.flag("--exit-by-cause", settings.exitByCause, "Exit with the cause's own value");
    program.flag("--current-ok", settings.currentOk,
                 "Exit with 0 if the controller already has the revision");
}

void AddSupervision(const commandline::Program& program, RunSettings& settings) {
    program.option("--tool", settings.tool, "Run this tool, not the one beside this program")
        .typeName("FILE");
    program
        .option("--wait", settings.wait, "Wait this long for a controller before the tool starts")
        .typeName("SECONDS")
        .inRange(0, LONGEST_WAIT);
    program.flag("--interruptible", settings.interruptible,
                 "End at the first signal, even while pages are sent");
    const auto verify = program.flag("--verify", settings.verify,
                                     "After the upgrade, wait for the controller's new revision");
    program.option("--verify-seconds", settings.verifySeconds, "Let --verify wait this long")
        .typeName("SECONDS")
        .showDefault()
        .inRange(0, LONGEST_WAIT)
        .needs(verify);
}

void AddImageChecks(const commandline::Program& program, RunSettings& settings) {
    const auto digest =
        program.option("--sha256", settings.digest, "Send only an image with this SHA-256")
            .typeName("HEX")
            .obeys(NotADigest);
    program
        .option("--sha256-file", settings.digestFile,
                "Send only an image with the SHA-256 listed for it in FILE, as sha256sum writes it")
        .typeName("FILE")
        .excludes(digest);
    program.flag("--check", settings.check, "Check the image as tfi_inspect does, and exit");
}

/** The file of --report in a wrong command line. */
std::string ReportFileIn(int argc, const char* const* argv) {
    const std::size_t length = strlen(REPORT_OPTION);
    for (int i = 1; i < argc && argv[i][0] == '-'; ++i) {
        if (strncmp(argv[i], REPORT_OPTION, length) != 0) {
            continue;
        }
        if (argv[i][length] == '=') {
            return argv[i] + length + 1;
        }
        return argv[i][length] == '\0' && i + 1 < argc ? argv[i + 1] : "";
    }
    return "";
}

bool TakeOperands(RunSettings& settings) {
    const std::optional<Operands> operands = ReadOperands(settings.toolArguments);
    settings.operands = operands.value_or(Operands{});
    return operands.has_value();
}

std::optional<int> WrongUsage(const std::string& why) {
    fprintf(stderr, "tolmira_run: %s (see --help)\n", why.c_str());
    return commandline::EXIT_WRONG_USAGE;
}

/** Checks that the command-line library can't make. */
std::optional<int> Judge(RunSettings& settings) {
    if (!TakeOperands(settings)) {
        return WrongUsage("give an image and a configuration: [-f] image configuration");
    }
    if (settings.progress == PROGRESS_JSON && settings.progressDescriptor < 0) {
        return WrongUsage("--progress json needs --progress-fd");
    }
    if (settings.digest) {
        settings.digest = digest::ReadSha256(*settings.digest);
    }
    return std::nullopt;
}

}  // namespace

std::string ToolBesideThisProgram() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return self.parent_path() / "tolmira_upgrade";
}

std::optional<RunSettings> ReadCommandLine(int argc, const char* const* argv, int& exitValue,
                                           std::string& reportFile) {
    RunSettings settings;
    settings.tool = ToolBesideThisProgram();
    commandline::Program program(
        "Runs tolmira_upgrade, one run at a time, and protects it from accidental interruption.",
        "tolmira_run");
    program.version(TOLMIRA_VERSION);
    AddReporting(program, settings);
    AddSupervision(program, settings);
    AddImageChecks(program, settings);
    program.wordsOfAnother(
        settings.toolArguments, "[-f] image configuration",
        "The arguments after the options are passed to the tool.\n\n" + ExitTable());
    std::optional<int> ended = program.read(argc, argv);
    if (!ended) {
        ended = Judge(settings);
    }
    if (!ended) {
        return settings;
    }
    exitValue = *ended;
    if (exitValue == commandline::EXIT_WRONG_USAGE) {
        reportFile = ReportFileIn(argc, argv);
    }
    return std::nullopt;
}

}  // namespace run
