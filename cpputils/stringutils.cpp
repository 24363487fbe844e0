#include "cpputils/include/stringutils.h"

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <cstdarg>
#include <cstdio>

namespace {

// "%" is first, so that the "%" of the other replacements isn't escaped again.
const Replacements& UrlEscapes() {
    static const Replacements escapes = {
        {"%", "%25"}, {";", "%3B"}, {"?", "%3F"}, {":", "%3A"}, {"#", "%23"},
        {"&", "%26"}, {"=", "%3D"}, {"+", "%2B"}, {"$", "%24"}, {",", "%2C"},
        {" ", "%20"}, {"<", "%3C"}, {">", "%3E"}, {"~", "%7E"},
    };
    return escapes;
}

bool IsSlash(char character) {
    return character == '/';
}

std::string WithoutOuterSlashes(std::string path) {
    NormalizePath(path, true);
    return path;
}

bool HasSlash(const std::string& path, size_t from) {
    return path.find('/', from) != std::string::npos;
}

}  // namespace

std::string& TrimString(std::string& text) {
    boost::algorithm::trim_if(text, boost::algorithm::is_any_of(" \a\b\f\n\r\t\v"));
    return text;
}

void NormalizePath(std::string& path, bool stripOuterSlashes) {
    const auto areSlashes = [](char left, char right) { return IsSlash(left) && IsSlash(right); };
    path.erase(std::unique(path.begin(), path.end(), areSlashes), path.end());
    if (stripOuterSlashes) {
        boost::algorithm::trim_if(path, IsSlash);
    }
}

bool IsDirectChild(const std::string& path, const std::string& directory) {
    const std::string child = WithoutOuterSlashes(path);
    const std::string parent = WithoutOuterSlashes(directory);
    if (child.size() <= parent.size()) {
        return false;
    }
    if (parent.empty()) {
        return !HasSlash(child, 0);
    }
    return boost::algorithm::starts_with(child, parent) && IsSlash(child[parent.size()]) &&
           !HasSlash(child, parent.size() + 1);
}

void EscapeForUrl(std::string& text) {
    text = ApplyReplacements(text, UrlEscapes());
}

std::string ApplyReplacements(const std::string& text, const Replacements& pairs) {
    std::string result = text;
    for (const auto& [search, replacement] : pairs) {
        boost::algorithm::replace_all(result, search, replacement);
    }
    return result;
}

void AppendFormat(char** cursor, size_t* room, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    // The -1 of a failure becomes the largest number, so a failure counts as text that doesn't fit.
    const auto wanted = static_cast<size_t>(vsnprintf(*cursor, *room, format, arguments));
    va_end(arguments);
    const size_t used = std::min(wanted, *room);
    *cursor += used;
    *room -= used;
}

std::string ToUpperCopy(const std::string& text) {
    return boost::algorithm::to_upper_copy(text);
}

std::string ToLowerCopy(const std::string& text) {
    return boost::algorithm::to_lower_copy(text);
}
