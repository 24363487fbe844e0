#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/**
 * Command lines of the companions, and of the programs that measure and test the tool. Only this
 * library includes CLI11, whose header takes longer to compile than any of the programs.
 *
 * The variables of the options are borrowed until Program::read() returns. Only read() writes them,
 * and only if the option is given; after wrong usage it may have written some. One thread. A
 * mistake in the options themselves, such as a duplicate name, throws.
 */
namespace commandline {

constexpr int EXIT_WRONG_USAGE = 2;

/** Returns what is wrong with a word, or an empty text. Called within read(). */
using Rule = std::function<std::string(const std::string& word)>;

/** Takes a word of the command line. Called within read(). */
using WordHandler = std::function<void(const std::string& word)>;

/** Refines one option: a handle, to be copied freely, valid as long as the Program. */
class Option {
  public:
    explicit Option(CLI::Option& option) : i_option(&option) {}

    Option required(bool required = true) const;
    /** The help shows the variable's current value. */
    Option showDefault() const;

    /** Wrong usage without the other option. */
    Option needs(Option other) const;
    /** Wrong usage together with the other option. */
    Option excludes(Option other) const;

    /** A number from the least to the greatest, both included. */
    Option inRange(int least, int greatest) const;
    Option inRange(uint64_t least, uint64_t greatest) const;
    Option oneOf(const std::vector<std::string>& words) const;
    /** The rule's text is the error. The help shows the rule's name, if any, after the type. */
    Option obeys(const Rule& rule, const std::string& name = "") const;

    /**
     * The name of the value in the help: FILE, HEX, SECONDS and the like. Without it a number is N
     * and everything else is TEXT.
     */
    Option typeName(const std::string& name) const;

  private:
    CLI::Option* i_option;
};

/**
 * The options of a program, a group or a subcommand: a handle, valid as long as the Program.
 *
 * A name with dashes is an option, a name without is a positional argument. The help shows both in
 * the order in which they were added. A word that doesn't fit the variable's type is wrong usage.
 */
class CommandOptions {
  public:
    explicit CommandOptions(CLI::App& app) : i_app(&app) {}

    Option option(const std::string& name, std::string& value, const std::string& help) const;
    Option option(const std::string& name, int& value, const std::string& help) const;
    Option option(const std::string& name, int64_t& value, const std::string& help) const;
    Option option(const std::string& name, uint16_t& value, const std::string& help) const;
    Option option(const std::string& name, uint32_t& value, const std::string& help) const;
    Option option(const std::string& name, uint64_t& value, const std::string& help) const;

    /** No value if the option isn't given or its word is empty. */
    Option option(const std::string& name, std::optional<std::string>& value,
                  const std::string& help) const;
    Option option(const std::string& name, std::optional<uint16_t>& value,
                  const std::string& help) const;
    Option option(const std::string& name, std::optional<uint64_t>& value,
                  const std::string& help) const;

    /** The word goes to the handler. */
    Option option(const std::string& name, const WordHandler& handler,
                  const std::string& help) const;

    /** Takes all words, in their order. */
    Option option(const std::string& name, std::vector<std::string>& values,
                  const std::string& help) const;
    /** May be given up to `most` times, each time with one word. */
    Option repeatable(const std::string& name, std::vector<std::string>& values, int most,
                      const std::string& help) const;

    /** True if given; a name with a leading ! makes it false. Takes no value. */
    Option flag(const std::string& name, bool& value, const std::string& help) const;

  private:
    CLI::App* i_app;
};

/** A program's command line, with --help. */
class Program : public CommandOptions {
  public:
    Program(const std::string& description, const std::string& name);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /** Adds --version, which prints the program's name and this. */
    void version(const std::string& version);

    /** Options of which exactly one must be given. */
    CommandOptions oneOfGroup(const std::string& name, const std::string& help);

    /** With subcommands, exactly one must be given; read() calls its `chosen`. */
    CommandOptions subcommand(const std::string& name, const std::string& help,
                              const std::function<void()>& chosen);

    /**
     * Stores the arguments of another program in `words`: the first word that isn't this program's
     * and all that follow, without a leading --. An unknown long option before the first plain word
     * is still wrong usage. `usage` describes the words in the help's first line, and `help` is
     * printed below the options.
     */
    void wordsOfAnother(std::vector<std::string>& words, const std::string& usage,
                        const std::string& help);

    /**
     * Reads the words into the variables; to be called once. Returns no value if the program should
     * go on. Otherwise it has printed help, the version or an error, and returns the exit value to
     * end with. With --json, wrong usage is reported as JSON too.
     */
    [[nodiscard]] std::optional<int> read(int argc, const char* const* argv);

    /** Whether the option was given, even with an empty word. */
    bool given(const std::string& name) const;

  private:
    explicit Program(std::unique_ptr<CLI::App> app);
    void takeWordsOfAnother();

    std::unique_ptr<CLI::App> i_program;
    /** Borrowed; null if all words are the program's own. */
    std::vector<std::string>* i_wordsOfAnother = nullptr;
};

}  // namespace commandline
