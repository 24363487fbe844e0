#pragma once

#include <iosfwd>
#include <map>
#include <sstream>
#include <string>

/** The section of the keys that stand before any header. It has no header of its own. */
inline const std::string defaultSection = "default";

/**
 * Named settings: sections of keys with string values, read from and written to a text file. It
 * knows no key; clients ask for one and parse the text.
 *
 *     # a comment: whole lines only
 *     CPU_RATE = 666
 *     [section]
 *     key = value
 *
 * Lines are trimmed, and a key line is split at its first "=" and trimmed again; the name of a
 * section is not. Of two lines with one key the later counts. What is neither a header nor a key
 * line is skipped, and so is a last line without a newline: no contents are an error.
 *
 * A section exists only while it holds a key. An instance belongs to one thread at a time.
 */
class Configuration {
  public:
    Configuration() = default;
    /** Loads the file. Where that fails, logs a warning and stays empty. */
    explicit Configuration(const std::string& fileName);

    /**
     * Adds the keys of the file to this record, or with `clearFirst` takes them in its place.
     * Returns 0, or e_Error_CannotOpenFile, with the record unchanged, if the file can't be opened
     * or read to its end, as a directory can't.
     */
    [[nodiscard]] int load(const std::string& fileName, bool clearFirst);

    /**
     * Writes the record over the file. Returns 0, e_Error_CannotOpenFile if the file can't be
     * opened for writing, or e_Error_WriteFailed if not all of it could be written.
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
     * Gives the value to `stream`, cleared and ready to read, and returns 0. For a missing key
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

    /** Removes the key, and its section with the last one. A missing key is no fault. */
    void removeValue(const std::string& section, const std::string& key);
    void removeValue(const std::string& key) { removeValue(defaultSection, key); }

    /** Sets every key of `other` here too; returns this record. */
    Configuration& merge(const Configuration& other);
    void clear() { i_sections.clear(); }

  private:
    using Keys = std::map<std::string, std::string>;

    const std::string* find(const std::string& section, const std::string& key) const;
    void takeLine(std::string line, std::string& section);

    std::map<std::string, Keys> i_sections;
};
