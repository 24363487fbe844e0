#include "companions/jsonvalue/jsonvalue.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;

struct JsonConverter {
    template <typename T>
    Json operator()(const T& value) const {
        return value;
    }
    Json operator()(const JsonValue::Elements& elements) const {
        Json array = Json::array();
        for (const JsonValue& element : elements) {
            array.push_back(convert(element));
        }
        return array;
    }
    Json operator()(const JsonValue::Members& members) const {
        Json object = Json::object();
        for (const auto& [key, value] : members) {
            object[key] = convert(value);
        }
        return object;
    }

    static Json convert(const JsonValue& value) {
        return std::visit(JsonConverter(), value.i_value);
    }
};

JsonValue& JsonValue::operator[](const std::string& key) {
    auto& members = std::get<Members>(i_value);
    const auto found = std::find_if(members.begin(), members.end(),
                                    [&](const Member& member) { return member.first == key; });
    return found != members.end() ? found->second : members.emplace_back(key, nullptr).second;
}

std::string JsonValue::dump(int indent) const {
    return JsonConverter::convert(*this).dump(indent, ' ', false, Json::error_handler_t::replace);
}
