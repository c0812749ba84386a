#include "web/webServer.h"

#include "managerError.h"
#include "tunables.h"
#include "web/pageFiles.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <strings.h>
#include <sys/resource.h>
#include <utility>

namespace manager {
namespace {

using Response = std::unique_ptr<MHD_Response, companions::Release<MHD_destroy_response>>;

constexpr std::array<std::pair<const char*, const char*>, 5> safeguards{{
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cache-Control", "no-cache"},
}};

constexpr const char* plainText = "text/plain; charset=utf-8";

// As many connections as may be open without taking away what everything else needs.
unsigned connectionLimit() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t wanted = tunables::mostConnections + tunables::otherDescriptors;
    if (limit.rlim_cur < wanted) {
        limit.rlim_cur = std::min(wanted, limit.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
        getrlimit(RLIMIT_NOFILE, &limit);
    }
    const rlim_t others = tunables::otherDescriptors;
    const rlim_t rest = limit.rlim_cur > others ? limit.rlim_cur - others : 1;
    return static_cast<unsigned>(std::min<rlim_t>(rest, tunables::mostConnections));
}

std::string_view header(MHD_Connection* connection, const char* name) {
    const char* const value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

bool hasHeader(MHD_Connection* connection, const char* name) {
    return MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name) != nullptr;
}

MHD_Result countSame(void* counted, MHD_ValueKind /*kind*/, const char* name, const char* /*value*/) {
    auto& [wanted, count] = *static_cast<std::pair<const char*, int>*>(counted);
    count += strcasecmp(name, wanted) == 0 ? 1 : 0;
    return MHD_YES;
}

int countOf(MHD_Connection* connection, const char* name) {
    std::pair<const char*, int> counted(name, 0);
    MHD_get_connection_values(connection, MHD_HEADER_KIND, countSame, &counted);
    return counted.second;
}

bool hasBody(MHD_Connection* connection) {
    return hasHeader(connection, "Transfer-Encoding") ||
           (hasHeader(connection, "Content-Length") && header(connection, "Content-Length") != "0");
}

// The items of a header that is a list, without white space and what stands behind a semicolon; one that is
// refused ("gzip;q=0") is left out.
template <typename IsWanted>
bool listHas(std::string_view list, IsWanted isWanted) {
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        std::string item(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
        std::erase_if(item, [](unsigned char letter) { return std::isspace(letter) != 0; });
        const std::size_t weight = std::min(item.find(';'), item.size());
        const bool isRefused =
            item.find_first_not_of("0.", std::min(weight + 3, item.size())) == std::string::npos &&
            item.compare(weight, 3, ";q=") == 0;
        if (!isRefused && isWanted(std::string_view(item).substr(0, weight))) {
            return true;
        }
    }
    return false;
}

// Browsers say where a request comes from, to loopback addresses and over TLS. A link may lead to the page.
bool isOfAnotherSite(MHD_Connection* connection, std::string_view path) {
    const std::string_view site = header(connection, "Sec-Fetch-Site");
    const bool isLink = path == "/" && header(connection, "Sec-Fetch-Mode") == "navigate";
    return hasHeader(connection, "Sec-Fetch-Site") && site != "same-origin" && site != "none" && !isLink;
}

// What has the service asked for more needs a header that a page of another site cannot send: its browser
// would ask for leave with OPTIONS first.
constexpr std::string_view lookPath = "/api/look";
constexpr const char* lookHeader = "Mpegfe-Look";

MHD_Result queue(MHD_Connection* connection, unsigned status, const Response& response) {
    if (!response) {
        return MHD_NO;
    }
    for (const auto& [name, value] : safeguards) {
        MHD_add_response_header(response.get(), name, value);
    }
    return MHD_queue_response(connection, status, response.get());
}

void addType(const Response& response, std::string_view type) {
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, std::string(type).c_str());
}

// The library asks for bytes that may be written, and writes none.
void* unwritten(std::string_view bytes) {
    return const_cast<char*>(bytes.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

Response staticResponse(std::string_view bytes) {
    return Response(MHD_create_response_from_buffer(bytes.size(), unwritten(bytes), MHD_RESPMEM_PERSISTENT));
}

MHD_Result refuse(MHD_Connection* connection, unsigned status, std::string_view why) {
    const Response response = staticResponse(why);
    addType(response, plainText);
    if (status == MHD_HTTP_METHOD_NOT_ALLOWED) {
        MHD_add_response_header(response.get(), MHD_HTTP_HEADER_ALLOW, "GET, HEAD");
    }
    return queue(connection, status, response);
}

MHD_Result sendFile(MHD_Connection* connection, const PageFile& file) {
    const std::string tag(file.tag);
    const std::string weak = "W/" + tag;
    const bool isKnown = listHas(header(connection, "If-None-Match"), [&](std::string_view known) {
        return known == tag || known == weak || known == "*";
    });
    const bool isPacked = !file.packed.empty() &&
                          listHas(header(connection, "Accept-Encoding"),
                                  [](std::string_view coding) { return coding == "gzip" || coding == "*"; });
    const Response response = staticResponse(isKnown    ? std::string_view()
                                             : isPacked ? file.packed
                                                        : file.plain);
    addType(response, file.type);
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_ETAG, tag.c_str());
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_VARY, "Accept-Encoding");
    if (isPacked && !isKnown) {
        MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_ENCODING, "gzip");
    }
    return queue(connection, isKnown ? MHD_HTTP_NOT_MODIFIED : MHD_HTTP_OK, response);
}

void releaseBody(void* body) {
    delete static_cast<std::shared_ptr<const std::string>*>(body);
}

MHD_Result send(MHD_Connection* connection, const WebAnswer& answer) {
    if (!answer.body) {
        const Response response = staticResponse({});
        return queue(connection, answer.status, response);
    }
    auto* const body = new std::shared_ptr<const std::string>(answer.body);
    const Response response(MHD_create_response_from_buffer_with_free_callback_cls(
        answer.body->size(), unwritten(*answer.body), releaseBody, body));
    if (!response) {
        releaseBody(body);
        return MHD_NO;
    }
    addType(response, answer.type);
    if (!answer.fileName.empty()) {
        MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_DISPOSITION,
                                ("attachment; filename=\"" + answer.fileName + '"').c_str());
    }
    return queue(connection, answer.status, response);
}

MHD_Result keepArgument(void* arguments, MHD_ValueKind /*kind*/, const char* key, const char* value) {
    static_cast<decltype(WebRequest::arguments)*>(arguments)->emplace(key, value == nullptr ? "" : value);
    return MHD_YES;
}

} // namespace

WebServer::WebServer(ServedAddress& at, WebContent what) : address(at), content(std::move(what)) {
    Descriptor listener = address.listen();
    daemon.reset(MHD_start_daemon(
        MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, handle, this, MHD_OPTION_LISTEN_SOCKET,
        listener.get(), MHD_OPTION_CONNECTION_LIMIT, connectionLimit(), MHD_OPTION_CONNECTION_TIMEOUT,
        static_cast<unsigned>(tunables::idleConnection.count()), MHD_OPTION_CONNECTION_MEMORY_LIMIT,
        tunables::requestBytes, MHD_OPTION_END));
    if (!daemon) {
        throw ManagerError(ExitStatus::noEndpoints,
                           {"cannot serve the page", "room for a web server", "none",
                            "raise the limit of open files or of memory for this process"});
    }
    listener.release(); // the daemon closes it
}

// The daemon must not be stopped while a connection is suspended.
WebServer::~WebServer() {
    eventStreams.dropAll();
    MHD_run(daemon.get());
}

int WebServer::workDescriptor() const {
    return MHD_get_daemon_info(daemon.get(), MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
}

std::optional<std::chrono::milliseconds> WebServer::patience() const {
    MHD_UNSIGNED_LONG_LONG limit = 0;
    return MHD_get_timeout(daemon.get(), &limit) == MHD_YES ? std::optional(std::chrono::milliseconds(limit))
                                                            : std::nullopt;
}

void WebServer::step() {
    eventStreams.dropGone();
    // A run takes a stream up again, and only the next ones send, a piece each; the library does not ask for
    // them.
    do {
        MHD_run(daemon.get());
    } while (eventStreams.haveMoved());
}

bool WebServer::adopt(Descriptor connection) {
    sockaddr_storage nobody{};
    nobody.ss_family = AF_UNIX;
    return MHD_add_connection(daemon.get(), connection.release(), reinterpret_cast<const sockaddr*>(&nobody),
                              sizeof(sa_family_t)) == MHD_YES;
}

// What can be sent at once is sent in the next step.
void WebServer::publish(const EventText& message) {
    eventStreams.publish(message);
}

// NOLINTBEGIN(readability-non-const-parameter): the signature is the library's
MHD_Result WebServer::handle(void* server, MHD_Connection* connection, const char* url, const char* method,
                             const char* /*version*/, const char* /*data*/, std::size_t* dataSize,
                             void** state) {
    static char seen = 0;
    if (*state == nullptr) { // the head of the request alone
        *state = &seen;
        return hasBody(connection)
                   ? refuse(connection, MHD_HTTP_CONTENT_TOO_LARGE, "A request here has no body.\n")
                   : MHD_YES;
    }
    if (*dataSize != 0) {
        return MHD_NO;
    }
    return static_cast<WebServer*>(server)->answer(connection, url, method);
}

// NOLINTEND(readability-non-const-parameter)

MHD_Result WebServer::answer(MHD_Connection* connection, std::string_view path, std::string_view method) {
    const int origins = countOf(connection, "Origin");
    if (countOf(connection, "Host") != 1 || !address.isHost(header(connection, "Host")) || origins > 1 ||
        (origins == 1 && !address.isOrigin(header(connection, "Origin"))) ||
        isOfAnotherSite(connection, path)) {
        return refuse(connection, MHD_HTTP_FORBIDDEN, "This page is served under its own address only.\n");
    }
    const bool isHead = method == "HEAD";
    if (method != "GET" && !isHead) {
        return refuse(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "GET and HEAD only.\n");
    }
    const auto files = pageFiles();
    if (const auto file = std::ranges::find(files, path, &PageFile::path); file != files.end()) {
        return sendFile(connection, *file);
    }
    if (path == "/api/events") {
        const Response response(isHead ? MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT)
                                       : eventStreams.open(connection, content.firstEvent()));
        if (!response) {
            return refuse(connection, MHD_HTTP_SERVICE_UNAVAILABLE, "Too many look already.\n");
        }
        addType(response, "text/event-stream");
        return queue(connection, MHD_HTTP_OK, response);
    }
    if (path == lookPath && !hasHeader(connection, lookHeader)) {
        return refuse(connection, MHD_HTTP_FORBIDDEN, "A look needs the header \"Mpegfe-Look: 1\".\n");
    }
    WebRequest request{path, {}};
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, keepArgument, &request.arguments);
    return send(connection, content.answer(request));
}

} // namespace manager
