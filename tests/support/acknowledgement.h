#pragma once

namespace testSupport {

// What the service and the media manager acknowledge each other's requests and documents with.
inline constexpr const char* ack = R"({"reply": "ack"})";

} // namespace testSupport
