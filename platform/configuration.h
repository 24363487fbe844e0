#pragma once

#include <iosfwd>
#include <map>
#include <sstream>
#include <string>

/** The section of the keys before the first header. It is written without a header. */
inline const std::string defaultSection = "default";

/**
 * Named settings: sections of keys with string values, read from and written to a text file. The
 * class has no list of valid keys; clients ask for a key and parse its text.
 *
 *     # a comment: whole lines only
 *     CPU_RATE = 666
 *     [section]
 *     key = value
 *
 * Lines are trimmed. A key line is split at its first "=", and both parts are trimmed again; the
 * name of a section is not trimmed. Of two lines with the same key the later one counts. A line
 * that is neither a header nor a key line is skipped, and so is a last line without a newline.
 * Any contents are accepted.
 *
 * A section exists only while it holds a key. An instance belongs to one thread at a time.
 */
class Configuration {
  public:
    Configuration() = default;
    /** Loads the file. If that fails, logs a warning and stays empty. */
    explicit Configuration(const std::string& fileName);

    /**
     * Adds the keys of the file to this record; with `clearFirst` they replace its keys. Returns 0,
     * or e_Error_CannotOpenFile, with the record unchanged, if the path can't be opened or read to
     * its end, as with a directory.
     */
    [[nodiscard]] int load(const std::string& fileName, bool clearFirst);

    /**
     * Writes the record over the file. Returns 0, e_Error_CannotOpenFile if the file can't be
     * opened for writing, or e_Error_WriteFailed if not everything could be written.
     */
    [[nodiscard]] int save(const std::string& fileName) const;

    /** Keys and sections in ascending order, the default section first and without a header. */
    void print(std::ostream& out) const;
    /** The same to standard output. */
    void print() const;

    bool hasSection(const std::string& section) const;
    bool hasKey(const std::string& section, const std::string& key) const;
    bool hasKey(const std::string& key) const { return hasKey(defaultSection, key); }

    /**
     * Puts the value into `stream`, clears the stream's state and returns 0. For a missing key,
     * returns e_Error_NotFound and leaves the stream alone.
     */
    [[nodiscard]] int getValue(const std::string& section, const std::string& key,
                               std::istringstream& stream) const;
    [[nodiscard]] int getValue(const std::string& key, std::istringstream& stream) const {
        return getValue(defaultSection, key, stream);
    }
    std::string getValue(const std::string& section, const std::string& key,
                         const std::string& defaultValue) const;

    void setValue(const std::string& section, const std::string& key, const std::string& value);
    void setValue(const std::string& key, const std::string& value) {
        setValue(defaultSection, key, value);
    }

    /** Removes the key, and with the last key its section. A missing key is not an error. */
    void removeValue(const std::string& section, const std::string& key);
    void removeValue(const std::string& key) { removeValue(defaultSection, key); }

    /** Sets every key of `other` here too and returns this record. */
    Configuration& merge(const Configuration& other);
    void clear() { i_sections.clear(); }

  private:
    using Keys = std::map<std::string, std::string>;

    const std::string* find(const std::string& section, const std::string& key) const;
    void takeLine(std::string line, std::string& section);

    std::map<std::string, Keys> i_sections;
};
