// Jansson values that release themselves.
#pragma once

#include "companions/release.h"

#include <cstddef>
#include <cstdlib>
#include <jansson.h>
#include <memory>
#include <string>
#include <string_view>

namespace companions {

using Json = std::unique_ptr<json_t, Release<json_decref>>;

// A value as text, with Jansson's own separators or as its flags say; empty when the value is null.
inline std::string dump(const Json& value, std::size_t flags = 0) {
    const std::unique_ptr<char, Release<std::free>> text(json_dumps(value.get(), flags));
    return text ? text.get() : "";
}

// The text of an object's member, or `otherwise` when there is no such member or it is no string.
inline std::string_view textOf(const json_t* object, const char* key, std::string_view otherwise = {}) {
    const json_t* const member = json_object_get(object, key);
    return json_is_string(member) ? std::string_view(json_string_value(member), json_string_length(member))
                                  : otherwise;
}

} // namespace companions
