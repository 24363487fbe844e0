#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/**
 * The command lines of the programs around the tool, and of those that measure and try it. CLI11
 * reads them, and this library alone includes it: its header takes longer to compile than any of
 * the programs.
 *
 * What options are bound to stays the program's own. It is borrowed until Program::read() returns,
 * which alone writes to it, and only where the option was given; behind wrong usage some of it may
 * be written. Nothing here is for more than one thread. A mistake in the options themselves, such
 * as the same name twice, throws.
 */
namespace commandline {

constexpr int EXIT_WRONG_USAGE = 2;

/** What is wrong with a word; empty if nothing is. Called within read(). */
using Rule = std::function<std::string(const std::string& word)>;

/** Takes a word of the command line. Called within read(). */
using WordHandler = std::function<void(const std::string& word)>;

/** Refines one option; a handle, to be copied at will, good as long as the Program lives. */
class Option {
  public:
    explicit Option(CLI::Option& option) : i_option(&option) {}

    Option required(bool required = true) const;
    /** The help tells the value that the variable has now. */
    Option showDefault() const;

    /** Not without the other one. */
    Option needs(Option other) const;
    /** Not with the other one, nor that with this. */
    Option excludes(Option other) const;

    /** A number from the least to the greatest, both included. */
    Option inRange(int least, int greatest) const;
    Option inRange(uint64_t least, uint64_t greatest) const;
    Option oneOf(const std::vector<std::string>& words) const;
    /** Refused with what the rule says. The help has the rule's name, if any, behind the type's. */
    Option obeys(const Rule& rule, const std::string& name = "") const;

    /**
     * What the help calls the value: FILE, HEX, SECONDS and the like. Without it a number is N and
     * everything else is TEXT.
     */
    Option typeName(const std::string& name) const;

  private:
    CLI::Option* i_option;
};

/**
 * Where options stand: in a program, a group, or a subcommand; a handle, good as long as the
 * Program lives.
 *
 * A name with dashes is an option's, one without is that of a word which is known by its place. The
 * help tells both in the order in which they came. A word that the variable's type can't hold is
 * wrong usage.
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

    /** Without a value where the option wasn't given, or with an empty word. */
    Option option(const std::string& name, std::optional<std::string>& value,
                  const std::string& help) const;
    Option option(const std::string& name, std::optional<uint16_t>& value,
                  const std::string& help) const;
    Option option(const std::string& name, std::optional<uint64_t>& value,
                  const std::string& help) const;

    /** The word goes to the handler. */
    Option option(const std::string& name, const WordHandler& handler,
                  const std::string& help) const;

    /** As many words as there are, in their order. */
    Option option(const std::string& name, std::vector<std::string>& values,
                  const std::string& help) const;
    /** To be given up to `most` times, each time with one word. */
    Option repeatable(const std::string& name, std::vector<std::string>& values, int most,
                      const std::string& help) const;
    /** A name out of those that stand for numbers, or one of the numbers. */
    Option choice(const std::string& name, int& value, const std::map<std::string, int>& names,
                  const std::string& help) const;

    /** True when given; a name with a ! in front makes it false. */
    Option flag(const std::string& name, bool& value, const std::string& help) const;

  private:
    CLI::App* i_app;
};

/** A program's command line; --help is there from the beginning. */
class Program : public CommandOptions {
  public:
    Program(const std::string& description, const std::string& name);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /** Adds --version, which tells the program's name and this. */
    void version(const std::string& version);

    /** Options of which exactly one is to be given. */
    CommandOptions oneOfGroup(const std::string& name, const std::string& help);

    /** Where there are subcommands, exactly one is to be given; read() calls its `chosen`. */
    CommandOptions subcommand(const std::string& name, const std::string& help,
                              const std::function<void()>& chosen);

    /**
     * The words from the first one on that isn't this program's belong to another program; they are
     * bound to `words`, without the -- that may stand in front. A long option that isn't known in
     * front of the first plain word is wrong usage all the same. `usage` shows them in the
     * help's first line, and `help` is below the options.
     */
    void wordsOfAnother(std::vector<std::string>& words, const std::string& usage,
                        const std::string& help);

    /**
     * Reads the words into what the options are bound to; to be called once. Without a value the
     * program goes on; with one it ends at once with that: the help or the version was asked for,
     * and is on standard output, or the usage is wrong, which has been reported, as JSON too if the
     * words ask for it.
     */
    [[nodiscard]] std::optional<int> read(int argc, const char* const* argv);

    /** Whether read() has met the program's option of this name, be it with an empty word. */
    bool given(const std::string& name) const;

  private:
    explicit Program(std::unique_ptr<CLI::App> app);
    void takeWordsOfAnother();

    std::unique_ptr<CLI::App> i_program;
    /** Borrowed; null where all words are the program's own. */
    std::vector<std::string>* i_wordsOfAnother = nullptr;
};

}  // namespace commandline
