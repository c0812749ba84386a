// What is asked of the interface, and its answer.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace manager {

struct WebRequest {
    std::string_view path; // "/api/picture"
    std::map<std::string, std::string, std::less<>> arguments;
};

struct WebAnswer {
    unsigned status = 200;
    std::string_view type; // for Content-Type
    std::shared_ptr<const std::string> body;
    std::string fileName; // for a browser that saves it; none when empty
};

} // namespace manager
