# Most of a source file's compilation is the standard library's headers and templates, so tests, and builds with sanitizers, which come
# beside another, read the headers once; the latter compile some of a folder's files as one, too. The other builds compile each file of the
# programs by itself, and fail where it lacks an include.

# From here on, in this folder and those below, kelvane_use gives targets the headers of the target made here.
function(kelvane_precompile target)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp "")
    add_library(${target} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp)
    target_precompile_headers(${target} PRIVATE
        <algorithm> <array> <atomic> <chrono> <condition_variable> <filesystem> <fstream> <functional> <map> <memory> <mutex>
        <optional> <set> <span> <sstream> <string> <string_view> <thread> <variant> <vector> ${ARGN})
    set(kelvane_precompiled ${target} PARENT_SCOPE)
endfunction()

if(KELVANE_SANITIZE)
    add_compile_options(-pthread) # the toolkit's flag; its files can use only what was compiled with it
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # With these headers precompiled, GCC 12 finds overruns in std::string that are none. The warnings stay on in the other builds.
        add_compile_options(-Wno-array-bounds -Wno-stringop-overflow -Wno-restrict)
    endif()
    kelvane_precompile(kelvane_precompiled_all)
    set(CMAKE_UNITY_BUILD ON)
endif()
