// The files of the page, built into the program.
#pragma once

#include <span>
#include <string_view>

namespace manager {

struct PageFile {
    std::string_view path; // of a request: "/main.js", and "/" for index.html
    std::string_view type; // for Content-Type
    std::string_view tag;  // for ETag, with its quotation marks; changes with the content
    std::string_view plain;
    std::string_view packed; // by gzip; empty where that would not be smaller
};

// All of them; made of the folder page/ and of what it needs of Debian's packages (web/pageFiles.cmake).
std::span<const PageFile> pageFiles();

} // namespace manager
