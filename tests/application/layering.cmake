# Application code includes no toolkit and no system header. Usage: cmake -DROOT=... -P layering.cmake
file(GLOB_RECURSE files ${ROOT}/app/*.h ${ROOT}/app/*.cpp ${ROOT}/logging/*.h ${ROOT}/logging/*.cpp ${ROOT}/service/*.h
     ${ROOT}/service/*.cpp ${ROOT}/viewmodel/*.h ${ROOT}/viewmodel/*.cpp ${ROOT}/pages/*.h ${ROOT}/pages/*.cpp
     ${ROOT}/chrome/*.h ${ROOT}/chrome/*.cpp)
list(LENGTH files count)
if(count LESS 20)
    message(FATAL_ERROR "only ${count} files of the application found below ${ROOT}")
endif()
foreach(file ${files})
    file(STRINGS ${file} includes REGEX "^#include")
    foreach(include ${includes})
        # The standard library's headers have neither folder nor extension, and the application's own begin with its folders.
        if(NOT include MATCHES "^#include (<[a-z_0-9]+>|\"(app|logging|service|viewmodel|pages|chrome|platform|package)/)")
            if(NOT (file MATCHES "app/main.cpp$" AND include MATCHES "\"backends/"))
                message(SEND_ERROR "${file}: ${include}")
            endif()
        endif()
    endforeach()
endforeach()
