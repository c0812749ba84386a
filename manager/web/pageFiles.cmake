# Writes pageFiles.cpp: the files of the page as arrays, each as it is and packed by gzip.
#
# usage: cmake -D OUTPUT=FILE -D PAGE=FOLDER -D FILES=FILE[;FILE...] -P pageFiles.cmake
#
# A file in the folder is served under its path there, another one under its name.

set(html "text/html; charset=utf-8")
set(css "text/css; charset=utf-8")
set(js "text/javascript; charset=utf-8")
set(svg "image/svg+xml")

# The bytes of a file as the inside of an array.
function(bytesOf file result)
    file(READ "${file}" digits HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${digits}")
    string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
    set(${result} "${bytes}" PARENT_SCOPE)
endfunction()

set(arrays "")
set(rows "")
set(count 0)
foreach(file IN LISTS FILES)
    cmake_path(IS_PREFIX PAGE "${file}" isInPage)
    if(isInPage)
        cmake_path(RELATIVE_PATH file BASE_DIRECTORY "${PAGE}" OUTPUT_VARIABLE name)
    else()
        cmake_path(GET file FILENAME name)
    endif()
    cmake_path(GET file EXTENSION LAST_ONLY extension)
    string(SUBSTRING "${extension}" 1 -1 extension)
    if(NOT extension MATCHES "^(html|css|js|svg)$")
        message(FATAL_ERROR "${file}: no type is known for .${extension}")
    endif()

    set(packed "${OUTPUT}.gz")
    execute_process(COMMAND gzip -9nc "${file}" OUTPUT_FILE "${packed}" COMMAND_ERROR_IS_FATAL ANY)
    file(SIZE "${file}" plainSize)
    file(SIZE "${packed}" packedSize)
    bytesOf("${file}" plainBytes)
    set(packedBytes "")
    set(packedView "{}")
    if(packedSize LESS plainSize)
        bytesOf("${packed}" packedBytes)
        set(packedView "view(packed${count}, ${packedSize})")
    endif()
    file(REMOVE "${packed}")

    file(SHA256 "${file}" hash)
    string(SUBSTRING "${hash}" 0 16 hash)
    set(path "/${name}")
    if(name STREQUAL "index.html")
        set(path "/")
    endif()
    # An array is not empty, so there is a byte behind each.
    string(APPEND arrays
        "const unsigned char plain${count}[] = {\n${plainBytes}0};\n"
        "[[maybe_unused]] const unsigned char packed${count}[] = {\n${packedBytes}0};\n")
    string(APPEND rows
        "    {\"${path}\", \"${${extension}}\", \"\\\"${hash}\\\"\", view(plain${count}, ${plainSize}), ${packedView}},\n")
    math(EXPR count "${count} + 1")
endforeach()

file(WRITE "${OUTPUT}" "// Written by pageFiles.cmake.
#include \"web/pageFiles.h\"

#include <cstddef>

namespace manager {
namespace {

${arrays}
std::string_view view(const unsigned char* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

const PageFile files[] = {
${rows}};

} // namespace

std::span<const PageFile> pageFiles() {
    return files;
}

} // namespace manager
")
