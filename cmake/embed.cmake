# Writes the page's files into a source file: cmake -DFOLDER=... -DNAMES=a,b -DOUTPUT=... -P embed.cmake
string(REPLACE "," ";" names "${NAMES}")
set(type_.html text/html)
set(type_.css text/css)
set(type_.js text/javascript)
set(type_.svg image/svg+xml)
set(arrays "")
set(entries "")
set(count 0)
foreach(name IN LISTS names)
    file(READ ${FOLDER}/${name} bytes HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr unsigned char bytes_${count}[] = {${bytes}};\n")
    get_filename_component(suffix ${name} LAST_EXT)
    string(REGEX REPLACE "^index\\.html$" "" path ${name})
    string(APPEND entries "    {\"/${path}\", \"${type_${suffix}}; charset=utf-8\", view(bytes_${count})},\n")
    math(EXPR count "${count} + 1")
endforeach()
file(WRITE ${OUTPUT} "// Written by cmake/embed.cmake.
#include \"simulator/page/web_files.h\"

namespace simulator {

namespace {

${arrays}
template <std::size_t Size>
std::string_view view(const unsigned char (&bytes)[Size]) {
    return {reinterpret_cast<const char*>(bytes), Size};
}

}  // namespace

const std::vector<web_file> web_files{
${entries}};

}  // namespace simulator
")
