#include "companions/commandline/commandline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>

#include "companions/commandline/failure.h"
#include "companions/commandline/nearest.h"

namespace commandline {

namespace {

std::string UnexpectedText(const std::vector<std::string>& words) {
    std::string text = words.size() == 1 ? "unexpected argument:" : "unexpected arguments:";
    for (const std::string& word : words) {
        text += ' ' + word;
    }
    return text;
}

/** A long option before the other program's words can only be meant for this one. */
void RefuseUnknownOption(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        if (word.empty() || word[0] != '-' || word == "--") {
            return;
        }
        if (word.compare(0, 2, "--") == 0) {
            throw CLI::ParseError(UnexpectedText({word}), CLI::ExitCodes::ExtrasError);
        }
    }
}

/** The mark between this program's options and the other one's words belongs to neither. */
void DropEndOfOptions(std::vector<std::string>& words) {
    if (!words.empty() && words.front() == "--") {
        words.erase(words.begin());
    }
}

/** Searches the words, since wrong usage may have stopped the parser before --json. */
bool AsksForJson(const CLI::App& app, int argc, const char* const* argv) {
    const auto knows = [](const CLI::App* one) {
        return one->get_option_no_throw("--json") != nullptr;
    };
    const std::vector<const CLI::App*> commands = app.get_subcommands({});
    const bool known = knows(&app) || std::any_of(commands.begin(), commands.end(), knows);
    return known && std::find(argv, argv + argc, std::string("--json")) != argv + argc;
}

/** The beginnings of the library's errors, and the words that replace them. */
constexpr std::pair<const char*, const char*> BEGINNINGS[] = {
    {"A subcommand is required", "give a command"},
    {"Could not convert: ", "not a valid value: "},
    {"Exactly ", "exactly "},
};

/** What follows an option in the library's errors, and the words before and after it instead. */
constexpr struct {
    const char* theirs;
    const char* before;
    const char* after;
} ENDINGS[] = {
    {": 1 required ", "", ": give a value"},
    {" was given a disallowed flag override", "--", ": takes no value"},
};

/** An error of the library in the form of the program's own errors. */
std::string Reworded(const std::string& error) {
    for (const auto& [theirs, ours] : BEGINNINGS) {
        if (error.rfind(theirs, 0) == 0) {
            return ours + error.substr(std::strlen(theirs));
        }
    }
    for (const auto& [theirs, before, after] : ENDINGS) {
        if (const size_t end = error.find(theirs); end != std::string::npos) {
            return before + error.substr(0, end) + after;
        }
    }
    return error;
}

/** An unknown command takes precedence over the error that the library reports. */
std::string ReasonOf(const CLI::App& program, const CLI::Error& error, int argc,
                     const char* const* argv) {
    std::vector<std::string> commands;
    // An option group is a subcommand without a name.
    const auto isNamed = [](const CLI::App* command) { return !command->get_name().empty(); };
    for (const CLI::App* command : program.get_subcommands(isNamed)) {
        commands.push_back(command->get_name());
    }
    const auto* const word =
        std::find_if(argv + 1, argv + argc, [](const char* text) { return text[0] != '-'; });
    if (!commands.empty() && word != argv + argc && program.get_subcommands().empty()) {
        return "there is no command " + std::string(*word) + SuggestionFor(*word, commands);
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return UnexpectedText(program.remaining(true));  // the error has them in reverse order
    }
    return Reworded(error.what());
}

template <typename Number>
std::string RangeText(Number least, Number greatest) {
    return std::to_string(least) + " to " + std::to_string(greatest);
}

/** The help shows the type of an option's value, and only the name of a positional argument. */
void NameValues(CLI::App& app) {
    for (CLI::Option* option : app.get_options()) {
        const std::string type = option->get_type_name();
        if (!option->nonpositional()) {
            option->type_name("");
        } else if (type.compare(0, 4, "UINT") == 0 || type.compare(0, 3, "INT") == 0) {
            option->type_name("N");
        }
    }
    for (CLI::App* part : app.get_subcommands({})) {
        NameValues(*part);
    }
}

/** The usage line with another program's words at its end. */
class UsageWithWords : public CLI::Formatter {
  public:
    explicit UsageWithWords(std::string words) : i_words(std::move(words)) {}

    std::string make_usage(const CLI::App* app, std::string name) const override {
        std::string usage = CLI::Formatter::make_usage(app, std::move(name));
        usage.erase(usage.find_last_not_of('\n') + 1);
        return usage + ' ' + i_words + '\n';
    }

  private:
    std::string i_words;
};

template <typename Value>
Option Add(CLI::App& app, const std::string& name, Value& value, const std::string& help) {
    return Option(*app.add_option(name, value, help));
}

}  // namespace

Option Option::required(bool required) const {
    return Option(*i_option->required(required));
}

Option Option::showDefault() const {
    return Option(*i_option->capture_default_str());
}

Option Option::needs(Option other) const {
    return Option(*i_option->needs(other.i_option));
}

Option Option::excludes(Option other) const {
    return Option(*i_option->excludes(other.i_option));
}

Option Option::inRange(int least, int greatest) const {
    return Option(*i_option->check(CLI::Range(least, greatest, RangeText(least, greatest))));
}

Option Option::inRange(uint64_t least, uint64_t greatest) const {
    return Option(*i_option->check(CLI::Range(least, greatest, RangeText(least, greatest))));
}

Option Option::oneOf(const std::vector<std::string>& words) const {
    return Option(*i_option->check(CLI::IsMember(words)));
}

Option Option::obeys(const Rule& rule, const std::string& name) const {
    return Option(*i_option->check(rule, name));
}

Option Option::typeName(const std::string& name) const {
    return Option(*i_option->type_name(name));
}

Option CommandOptions::option(const std::string& name, std::string& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, int& value, const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, int64_t& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, uint16_t& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, uint32_t& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, uint64_t& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, std::optional<std::string>& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, std::optional<uint16_t>& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, std::optional<uint64_t>& value,
                              const std::string& help) const {
    return Add(*i_app, name, value, help);
}

Option CommandOptions::option(const std::string& name, const WordHandler& handler,
                              const std::string& help) const {
    return Option(*i_app->add_option_function<std::string>(name, handler, help));
}

Option CommandOptions::option(const std::string& name, std::vector<std::string>& values,
                              const std::string& help) const {
    return Add(*i_app, name, values, help);
}

Option CommandOptions::repeatable(const std::string& name, std::vector<std::string>& values,
                                  int most, const std::string& help) const {
    return Option(
        *i_app->add_option(name, values, help)->expected(1, most)->allow_extra_args(false));
}

Option CommandOptions::flag(const std::string& name, bool& value, const std::string& help) const {
    return Option(*i_app->add_flag(name, value, help)->disable_flag_override());
}

Program::Program(const std::string& description, const std::string& name)
    : Program(std::make_unique<CLI::App>(description, name)) {}

Program::Program(std::unique_ptr<CLI::App> app) : CommandOptions(*app), i_program(std::move(app)) {
    i_program->set_help_flag("-h,--help", "Print this help and exit");
}

Program::~Program() = default;

void Program::version(const std::string& version) {
    i_program->set_version_flag("--version", i_program->get_name() + " " + version,
                                "Print the version and exit");
}

CommandOptions Program::oneOfGroup(const std::string& name, const std::string& help) {
    CLI::Option_group* group = i_program->add_option_group(name, help);
    group->require_option(1);
    return CommandOptions(*group);
}

CommandOptions Program::subcommand(const std::string& name, const std::string& help,
                                   const std::function<void()>& chosen) {
    i_program->require_subcommand(1);
    CLI::App* command = i_program->add_subcommand(name, help);
    command->callback(chosen);
    return CommandOptions(*command);
}

void Program::wordsOfAnother(std::vector<std::string>& words, const std::string& usage,
                             const std::string& help) {
    i_program->prefix_command();
    i_program->formatter(std::make_shared<UsageWithWords>(usage));
    i_program->footer(help);
    i_wordsOfAnother = &words;
}

void Program::takeWordsOfAnother() {
    if (i_wordsOfAnother == nullptr) {
        return;
    }
    *i_wordsOfAnother = i_program->remaining();
    RefuseUnknownOption(*i_wordsOfAnother);
    DropEndOfOptions(*i_wordsOfAnother);
}

std::optional<int> Program::read(int argc, const char* const* argv) {
    try {
        NameValues(*i_program);
        i_program->parse(argc, argv);
        takeWordsOfAnother();
    } catch (const CLI::Success& request) {
        return i_program->exit(request);
    } catch (const CLI::Error& error) {
        ReportFailure(i_program->get_name(),
                      ReasonOf(*i_program, error, argc, argv) + " (see --help)", EXIT_WRONG_USAGE,
                      AsksForJson(*i_program, argc, argv));
        return EXIT_WRONG_USAGE;
    }
    return std::nullopt;
}

bool Program::given(const std::string& name) const {
    return i_program->count(name) != 0;
}

}  // namespace commandline
