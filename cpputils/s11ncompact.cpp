#include "cpputils/s11ncompact.h"

#include <istream>
#include <memory>
#include <ostream>

namespace s11n::io {

namespace {

constexpr char END_OF_NUMBER = ':';

void WriteNumber(std::ostream& out, size_t number) {
    out << std::to_string(number) << END_OF_NUMBER;
}

void WriteText(std::ostream& out, const std::string& text) {
    WriteNumber(out, text.size());
    out << text;
}

bool WriteNode(std::ostream& out, const s11n_node& node, int depth) {
    if (depth > serializer::MaxDepth) {
        return false;
    }
    WriteText(out, node.name());
    WriteText(out, node.class_name());
    WriteNumber(out, node.properties().size());
    for (const auto& [key, value] : node.properties()) {
        WriteText(out, key);
        WriteText(out, value);
    }
    WriteNumber(out, node.children().size());
    for (const s11n_node* child : node.children()) {
        if (!WriteNode(out, *child, depth + 1)) {
            return false;
        }
    }
    return out.good();
}

bool ReadNumber(std::istream& in, size_t& number) {
    std::string digits;
    std::getline(in, digits, END_OF_NUMBER);
    // At most 18 digits, so that the number fits.
    if (!in.good() || digits.empty() || digits.size() > 18 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    number = std::stoul(digits);
    return true;
}

/** Byte by byte, because the stated length may be wrong. */
bool ReadText(std::istream& in, std::string& text) {
    size_t length = 0;
    if (!ReadNumber(in, length)) {
        return false;
    }
    text.clear();
    char byte = 0;
    while (text.size() < length && in.get(byte)) {
        text.push_back(byte);
    }
    return text.size() == length;
}

bool ReadProperties(std::istream& in, s11n_node& node) {
    size_t count = 0;
    bool good = ReadNumber(in, count);
    std::string key;
    std::string value;
    for (; good && count > 0; --count) {
        good = ReadText(in, key) && ReadText(in, value);
        node.set(key, value);
    }
    return good;
}

bool ReadNode(std::istream& in, s11n_node& node, int depth) {
    std::string name;
    std::string className;
    size_t children = 0;
    if (depth > serializer::MaxDepth || !ReadText(in, name) || !ReadText(in, className) ||
        !ReadProperties(in, node) || !ReadNumber(in, children)) {
        return false;
    }
    node.name(name);
    node.class_name(className);
    bool good = true;
    for (; good && children > 0; --children) {
        node.children().push_back(new s11n_node);
        good = ReadNode(in, *node.children().back(), depth + 1);
    }
    return good;
}

}  // namespace

bool compact_serializer::serialize(const s11n_node& node, std::ostream& out) const {
    out << magic_cookie() << '\n';
    return WriteNode(out, node, 1);
}

s11n_node* compact_serializer::deserialize(std::istream& in) const {
    std::string cookie;
    std::getline(in, cookie);
    auto node = std::make_unique<s11n_node>();
    return cookie == magic_cookie() && ReadNode(in, *node, 1) ? node.release() : nullptr;
}

}  // namespace s11n::io
