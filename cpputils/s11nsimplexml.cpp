#include "cpputils/s11nsimplexml.h"

#include <cctype>
#include <cstdio>
#include <istream>
#include <memory>
#include <ostream>

namespace s11n::io {

namespace {

const std::string CLASS_ATTRIBUTE = "s11n_class";

/** A byte written as two hexadecimal digits between two marks. */
struct ByteEscape {
    std::string open;
    std::string close;
};
const ByteEscape NAME_ESCAPE = {"_x", "_"};
const ByteEscape VALUE_ESCAPE = {"&#x", ";"};

std::string Escaped(char byte, const ByteEscape& escape) {
    const char* const digits = "0123456789ABCDEF";
    const auto number = static_cast<unsigned char>(byte);
    return escape.open + digits[number / 16] + digits[number % 16] + escape.close;
}

/** Replaces every escape by its byte. False if one doesn't have the form that Escaped writes. */
bool Unescape(std::string& text, const ByteEscape& escape) {
    for (size_t at = text.find(escape.open); at != std::string::npos;
         at = text.find(escape.open, at + 1)) {
        const size_t digits = at + escape.open.size();
        const size_t end = text.find(escape.close, digits);
        if (end != digits + 2 || isxdigit(static_cast<unsigned char>(text[digits])) == 0 ||
            isxdigit(static_cast<unsigned char>(text[digits + 1])) == 0) {
            return false;
        }
        const auto byte = static_cast<char>(std::stoi(text.substr(digits, 2), nullptr, 16));
        text.replace(at, end + escape.close.size() - at, 1, byte);
    }
    return true;
}

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsNameByte(char c) {
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.' || c == ':';
}

std::string NameToXml(const std::string& name) {
    if (name.empty()) {
        return NAME_ESCAPE.open + NAME_ESCAPE.close;
    }
    std::string xml;
    for (size_t i = 0; i < name.size(); ++i) {
        const bool plain = i == 0 ? IsLetter(name[i]) || name[i] == '_' : IsNameByte(name[i]);
        const bool looksEscaped = name.compare(i, NAME_ESCAPE.open.size(), NAME_ESCAPE.open) == 0;
        xml += plain && !looksEscaped ? std::string(1, name[i]) : Escaped(name[i], NAME_ESCAPE);
    }
    return xml;
}

/** A property may have the name of the class attribute; then its first byte is escaped. */
std::string KeyToXml(const std::string& key) {
    return key == CLASS_ATTRIBUTE ? Escaped(key[0], NAME_ESCAPE) + key.substr(1) : NameToXml(key);
}

bool NameFromXml(std::string& name) {
    if (name == NAME_ESCAPE.open + NAME_ESCAPE.close) {
        name.clear();
        return true;
    }
    return Unescape(name, NAME_ESCAPE);
}

std::string ValueToXml(const std::string& value) {
    const std::string markup = "&<>\"'\x7f";
    std::string xml;
    for (const char c : value) {
        const bool control = static_cast<unsigned char>(c) < ' ';
        xml += control || markup.find(c) != std::string::npos ? Escaped(c, VALUE_ESCAPE)
                                                              : std::string(1, c);
    }
    return xml;
}

void WriteAttribute(std::ostream& out, const std::string& xmlName, const std::string& value) {
    out << ' ' << xmlName << "=\"" << ValueToXml(value) << '"';
}

bool WriteNode(std::ostream& out, const s11n_node& node, int depth) {
    if (depth > serializer::MaxDepth) {
        return false;
    }
    const std::string indent(2 * static_cast<size_t>(depth - 1), ' ');
    const std::string name = NameToXml(node.name());
    out << indent << '<' << name;
    WriteAttribute(out, CLASS_ATTRIBUTE, node.class_name());
    for (const auto& [key, value] : node.properties()) {
        WriteAttribute(out, KeyToXml(key), value);
    }
    if (node.children().empty()) {
        out << " />\n";
        return out.good();
    }
    out << ">\n";
    for (const s11n_node* child : node.children()) {
        if (!WriteNode(out, *child, depth + 1)) {
            return false;
        }
    }
    out << indent << "</" << name << ">\n";
    return out.good();
}

/** A cursor over the elements of a stream. Unexpected text fails the whole read. */
class Reader {
  public:
    explicit Reader(std::istream& in) : i_in(in) {}

    /** Reads the rest of an element whose "<" has been taken. */
    bool readElement(s11n_node& node, int depth) {
        const std::string xmlName = takeName();
        std::string name = xmlName;
        if (depth > serializer::MaxDepth || !NameFromXml(name) || !readAttributes(node)) {
            return false;
        }
        node.name(name);
        return take("/>") || (take(">") && readChildren(node, depth) && take(xmlName) && take(">"));
    }

    /** Skips white space, then takes `text` if it comes next. */
    bool take(const std::string& text) {
        i_in >> std::ws;
        if (i_in.peek() != text[0]) {
            return false;
        }
        std::string next(text.size(), '\0');
        const auto size = static_cast<std::streamsize>(text.size());
        i_in.read(next.data(), size);
        return next == text;
    }

  private:
    /** Empty if no name comes next. */
    std::string takeName() {
        std::string name;
        while (i_in.peek() != EOF && IsNameByte(static_cast<char>(i_in.peek()))) {
            name += static_cast<char>(i_in.get());
        }
        return name;
    }

    bool readAttributes(s11n_node& node) {
        i_in >> std::ws;
        for (std::string key = takeName(); !key.empty(); i_in >> std::ws, key = takeName()) {
            std::string value;
            if (!take("=\"") || !std::getline(i_in, value, '"') || !Unescape(value, VALUE_ESCAPE)) {
                return false;
            }
            if (key == CLASS_ATTRIBUTE) {
                node.class_name(value);
            } else if (NameFromXml(key)) {
                node.set(key, value);
            } else {
                return false;
            }
        }
        return true;
    }

    /** Reads child elements, up to and including the "</" of their parent's end tag. */
    bool readChildren(s11n_node& node, int depth) {
        while (take("<")) {
            if (i_in.peek() == '/') {
                i_in.get();
                return true;
            }
            node.children().push_back(new s11n_node);
            if (!readElement(*node.children().back(), depth + 1)) {
                return false;
            }
        }
        return false;
    }

    std::istream& i_in;
};

}  // namespace

bool simplexml_serializer::serialize(const s11n_node& node, std::ostream& out) const {
    out << magic_cookie() << '\n';
    return WriteNode(out, node, 1);
}

s11n_node* simplexml_serializer::deserialize(std::istream& in) const {
    std::string cookie;
    std::getline(in, cookie);
    auto node = std::make_unique<s11n_node>();
    Reader reader(in);
    return cookie == magic_cookie() && reader.take("<") && reader.readElement(*node, 1)
               ? node.release()
               : nullptr;
}

}  // namespace s11n::io
