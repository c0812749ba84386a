// Jansson values that release themselves.
#pragma once

#include <cstdlib>
#include <jansson.h>
#include <memory>
#include <string>
#include <string_view>

namespace manager {

struct JsonRelease {
    void operator()(json_t* value) const {
        json_decref(value);
    }
};

using Json = std::unique_ptr<json_t, JsonRelease>;

// A value as text, with Jansson's own separators; empty when the value is null.
inline std::string dump(const Json& value) {
    struct Free {
        void operator()(char* text) const {
            std::free(text);
        }
    };
    const std::unique_ptr<char, Free> text(json_dumps(value.get(), 0));
    return text ? text.get() : "";
}

// The text of an object's member, or `otherwise` when there is no such member or it is no string.
inline std::string_view textOf(const json_t* object, const char* key, std::string_view otherwise = {}) {
    const json_t* const member = json_object_get(object, key);
    return json_is_string(member) ? std::string_view(json_string_value(member), json_string_length(member))
                                  : otherwise;
}

} // namespace manager
