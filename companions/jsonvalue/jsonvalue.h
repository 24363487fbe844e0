#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

/**
 * A JSON value to be written: null, a boolean, a number, a text, an array, or an object that keeps
 * the order of its members. nlohmann-json writes it, but isn't included here, because its header
 * takes longer to compile than most programs.
 *
 * A value owns everything in it. Use as the wrong type throws std::bad_variant_access.
 */
class JsonValue {
  public:
    using Member = std::pair<std::string, JsonValue>;

    JsonValue(std::nullptr_t = nullptr) {}
    JsonValue(bool value) : i_value(value) {}
    JsonValue(double value) : i_value(value) {}
    JsonValue(const char* text) : i_value(std::string(text)) {}
    JsonValue(std::string text) : i_value(std::move(text)) {}
    template <typename T, std::enable_if_t<std::is_integral_v<T>, int> = 0>
    JsonValue(T number)
        : i_value(std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>{number}) {}
    template <typename T>
    JsonValue(const std::vector<T>& elements)
        : i_value(Elements(elements.begin(), elements.end())) {}
    /** An object. */
    JsonValue(std::initializer_list<Member> members) : i_value(Members(members)) {}

    static JsonValue array() { return JsonValue(Elements()); }
    static JsonValue object() { return JsonValue(Members()); }

    void append(JsonValue element) { std::get<Elements>(i_value).push_back(std::move(element)); }
    /** The member of an object, added as null if there is none. */
    JsonValue& operator[](const std::string& key);

    /** On one line, or with `indent` blanks per level. Invalid UTF-8 becomes U+FFFD. */
    std::string dump(int indent = -1) const;

  private:
    friend struct JsonConverter;
    using Elements = std::vector<JsonValue>;
    using Members = std::vector<Member>;

    explicit JsonValue(Elements elements) : i_value(std::move(elements)) {}
    explicit JsonValue(Members members) : i_value(std::move(members)) {}

    std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, Elements,
                 Members>
        i_value;
};
