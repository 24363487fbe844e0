#pragma once

#include "cpputils/include/s11n.h"

namespace s11n::io {

/**
 * The readable form: the cookie's line, then the root node. A node is an element with the node's
 * name. Its attributes are the class name as "s11n_class" and the properties; its children are
 * elements:
 *
 *     <!DOCTYPE s11n::simplexml>
 *     <options s11n_class="Options" numABU="3">
 *       <port s11n_class="Port" />
 *     </options>
 *
 * In values, markup and control characters are character references ("&#x3C;"). In names, a byte
 * that XML doesn't allow there is "_xHH_", and the empty name is "_x_".
 */
// The name is the library's.
// NOLINTNEXTLINE(readability-identifier-naming)
class simplexml_serializer : public serializer {
  public:
    std::string class_name() const override { return "s11n::io::simplexml_serializer"; }
    std::string lexer_name() const override { return "simplexml_data_nodeFlexLexer"; }
    std::string magic_cookie() const override { return "<!DOCTYPE s11n::simplexml>"; }
    bool serialize(const s11n_node& node, std::ostream& out) const override;
    s11n_node* deserialize(std::istream& in) const override;
};

}  // namespace s11n::io
