#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <utility>

/**
 * Small string functions. They touch only their arguments, so any thread may call them. None of
 * them fails.
 */

/**
 * Removes blank, BEL, BS, FF, LF, CR, TAB and VT from both ends, in place, and returns `text`. The
 * set doesn't depend on the locale.
 */
std::string& TrimString(std::string& text);

/**
 * Reduces every run of slashes to one, in place; with `stripOuterSlashes` also removes the slash at
 * either end.
 */
void NormalizePath(std::string& path, bool stripOuterSlashes);

/**
 * Whether `path` names an entry immediately inside `directory`. Only the texts are compared,
 * without outer and repeated slashes. The empty directory is the root, whose children are all paths
 * of one component.
 */
bool IsDirectChild(const std::string& path, const std::string& directory);

/** Replaces characters that have a meaning in a URL, except "/", by "%" and their hex code. */
void EscapeForUrl(std::string& text);

/** Search text and its replacement. */
using Replacements = std::list<std::pair<std::string, std::string>>;

/**
 * A copy of `text` with all occurrences of each pair's first string replaced by its second. The
 * pairs are applied one after the other; each goes from left to right and doesn't search the text
 * it inserts. An empty search text matches nothing.
 */
std::string ApplyReplacements(const std::string& text, const Replacements& pairs);

/**
 * vsnprintf at `*cursor`, which has room for `*room` bytes. Moves the cursor past the text, onto
 * its terminator, and subtracts the length from the room. Text that doesn't fit is cut. In that
 * case, and if formatting fails, the cursor moves to the end of the buffer and the room becomes 0,
 * so later calls write nothing. Repeated calls fill a buffer with no length arithmetic in the
 * caller.
 */
void AppendFormat(char** cursor, size_t* room, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/** A copy with each character mapped by the global locale. */
std::string ToUpperCopy(const std::string& text);
std::string ToLowerCopy(const std::string& text);
