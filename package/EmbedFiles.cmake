# Writes OUTPUT, a C++ file with the bytes of FILES ("path in the package=path on disk", separated by semicolons).
set(arrays "")
set(rows "")
set(index 0)
foreach(file ${FILES})
    string(REGEX MATCH "^([^=]+)=(.+)$" match ${file})
    set(path ${CMAKE_MATCH_1})
    file(READ ${CMAKE_MATCH_2} bytes HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
    string(APPEND arrays "constexpr char kFile${index}[] = {${bytes}};\n")
    string(APPEND rows "    {\"${path}\", {kFile${index}, sizeof kFile${index}}},\n")
    math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT} "#include \"package/PackageContent.h\"

namespace Kelvane {

namespace {

${arrays}
constexpr platform::PackageFile kFiles[] = {
${rows}};

}  // namespace

std::span<const platform::PackageFile> PackageContent() { return kFiles; }

}  // namespace Kelvane
")
