// JSON that peers send: short objects whose members are texts.
#pragma once

#include <jansson.h>

namespace mpegfe {

// Parses a text; what follows the first value is ignored. Null when it is no JSON, and then error says why.
// The caller releases the result.
json_t* parseJson(const char* text, json_error_t& error);

// The text under this key, or null when the object is null, has no such key or has something else there. It
// lives as long as the object.
const char* textOf(json_t* object, const char* key);

} // namespace mpegfe
