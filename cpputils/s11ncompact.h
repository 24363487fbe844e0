#pragma once

#include "cpputils/include/s11n.h"

namespace s11n::io {

/**
 * The short form: the cookie's line, then the root node. A node is its name, its class name, the
 * number of its properties, the key and value of each, the number of its children, and the
 * children. A number is decimal digits and ":". A string is the number of its bytes, then the
 * bytes.
 */
// The name is the library's.
// NOLINTNEXTLINE(readability-identifier-naming)
class compact_serializer : public serializer {
  public:
    std::string class_name() const override { return "s11n::io::compact_serializer"; }
    std::string lexer_name() const override { return "compact_data_nodeFlexLexer"; }
    std::string magic_cookie() const override { return "51191011"; }
    bool serialize(const s11n_node& node, std::ostream& out) const override;
    s11n_node* deserialize(std::istream& in) const override;
};

}  // namespace s11n::io
