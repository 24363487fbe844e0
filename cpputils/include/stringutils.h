#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <utility>

/**
 * Small string functions. Plain functions on their arguments, for any thread; none of them fails.
 */

/**
 * Removes blank, BEL, BS, FF, LF, CR, TAB and VT from both ends, in place, and returns `text`. The
 * set depends on no locale.
 */
std::string& TrimString(std::string& text);

/**
 * Shrinks every run of slashes to one, in place; with `stripOuterSlashes` also drops the slash at
 * either end.
 */
void NormalizePath(std::string& path, bool stripOuterSlashes);

/**
 * Whether `path` names an entry immediately inside `directory`, by their text alone: both are
 * compared without outer and repeated slashes. The empty directory is the root, whose children are
 * all paths of one component.
 */
bool IsDirectChild(const std::string& path, const std::string& directory);

/** Replaces the characters that have a meaning in a URL, "/" not among them, by "%" and their hex.
 */
void EscapeForUrl(std::string& text);

/** Search text and its replacement. */
using Replacements = std::list<std::pair<std::string, std::string>>;

/**
 * A copy of `text` with all occurrences of each pair's first string replaced by its second: pair
 * after pair, left to right, without looking into inserted text. An empty search text matches
 * nothing.
 */
std::string ApplyReplacements(const std::string& text, const Replacements& pairs);

/**
 * vsnprintf at `*cursor`, which has room for `*room` bytes. Moves the cursor behind the text, onto
 * its terminator, and takes its length off the room. Text that doesn't fit is cut; then, and when
 * formatting fails, the cursor goes to the end of the buffer and the room is 0, and later calls
 * write nothing. Repeated calls fill a buffer with no length arithmetic in the caller.
 */
void AppendFormat(char** cursor, size_t* room, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/** A copy with each character mapped by the global locale. */
std::string ToUpperCopy(const std::string& text);
std::string ToLowerCopy(const std::string& text);
