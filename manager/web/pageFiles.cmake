# Writes pageFiles.cpp: the files of the page as arrays, each plain and packed by gzip. A file below ROOT has its path there, any other
# its name. They are as they are, but for the comments of the modules below ROOT.
#
# usage: cmake -D OUTPUT=FILE -D ROOT=FOLDER -D FILES=FILE[;FILE...] -P pageFiles.cmake

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
    cmake_path(GET file FILENAME name)
    cmake_path(GET file EXTENSION LAST_ONLY extension)
    string(SUBSTRING "${extension}" 1 -1 extension)
    if(NOT extension MATCHES "^(html|css|js|svg)$")
        message(FATAL_ERROR "${file}: no type is known for .${extension}")
    endif()

    cmake_path(IS_PREFIX ROOT "${file}" NORMALIZE isOfThePage)
    set(plain "${file}")
    if(isOfThePage AND extension MATCHES "^js$")
        set(plain "${OUTPUT}.js")
        execute_process(COMMAND sed -f ${CMAKE_CURRENT_LIST_DIR}/withoutComments.sed "${file}" OUTPUT_FILE "${plain}"
            COMMAND_ERROR_IS_FATAL ANY)
    endif()
    set(packed "${OUTPUT}.gz")
    execute_process(COMMAND gzip -9nc "${plain}" OUTPUT_FILE "${packed}" COMMAND_ERROR_IS_FATAL ANY)
    file(SIZE "${plain}" plainSize)
    file(SIZE "${packed}" packedSize)
    bytesOf("${plain}" plainBytes)
    set(packedBytes "")
    set(packedView "{}")
    if(packedSize LESS plainSize)
        bytesOf("${packed}" packedBytes)
        set(packedView "view(packed${count}, ${packedSize})")
    endif()
    file(REMOVE "${packed}")

    file(SHA256 "${plain}" hash)
    string(SUBSTRING "${hash}" 0 16 hash)
    set(path "/${name}")
    if(isOfThePage)
        cmake_path(RELATIVE_PATH file BASE_DIRECTORY "${ROOT}" OUTPUT_VARIABLE path)
        set(path "/${path}")
    endif()
    if(path STREQUAL "/index.html")
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

file(REMOVE "${OUTPUT}.js")
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
