// A client's request to the service.
#pragma once

#include <string>
#include <string_view>

namespace manager {

// One request as it goes over the wire: {"dataStream": dataStream, key: value}.
struct Request {
    std::string dataStream; // "pidData", "pgmData", "pgmDetail" or the name of a PSI table
    std::string key;        // "status", or "patIndex" for a program's detail
    std::string value;      // "on" or "off"; a decimal program index
};

// The data stream that takes a program index.
inline constexpr std::string_view programDetail = "pgmDetail";

// Makes a request of the two words of the command line. Throws ManagerError (usage) when there is no such
// data stream, or when the value is not what the data stream takes.
Request makeRequest(std::string_view dataStream, std::string_view value);

// Whether the service answers with documents: all requests but "off".
bool bringsDocument(const Request& request);

// The request as JSON text.
std::string requestText(const Request& request);

// The data streams as lines of help, indented by two blanks.
std::string dataStreamHelp();

} // namespace manager
