#include "support/jsonText.h"

namespace mpegfe {

json_t* parseJson(const char* text, json_error_t& error) {
    return json_loads(text, JSON_DISABLE_EOF_CHECK | JSON_ALLOW_NUL, &error);
}

const char* textOf(json_t* object, const char* key) {
    const char* value = nullptr;
    json_error_t error;
    json_unpack_ex(object, &error, 0, "{s:s}", key, &value);
    return value;
}

} // namespace mpegfe
