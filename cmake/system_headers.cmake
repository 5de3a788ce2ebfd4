# Headers of the system that most sources include are compiled once for each target platform. A compiler cache is faster without that.
if(CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()
# compile_system_headers(TARGET): this target compiles them. share_system_headers(TARGET...): these targets use the result.
# share_system_headers_here(): so do all targets of the current folder.
set(QTV_SYSTEM_HEADERS <windows.h> <algorithm> <filesystem> <fstream> <functional> <map> <memory> <mutex> <optional> <set> <sstream>
    <string> <string_view> <thread> <vector>)

function(compile_system_headers target)
    target_precompile_headers(${target} PRIVATE ${QTV_SYSTEM_HEADERS})
    set_property(GLOBAL PROPERTY QTV_SYSTEM_HEADERS_OF ${target})
endfunction()

function(share_system_headers)
    get_property(source GLOBAL PROPERTY QTV_SYSTEM_HEADERS_OF)
    foreach(target ${ARGN})
        get_target_property(type ${target} TYPE)
        # The host's code for shared objects differs from that for programs.
        if(source AND (type MATCHES "EXECUTABLE|STATIC_LIBRARY|OBJECT_LIBRARY" OR type STREQUAL MODULE_LIBRARY AND WIN32))
            target_precompile_headers(${target} REUSE_FROM ${source})
        endif()
    endforeach()
endfunction()

function(share_system_headers_here)
    get_property(targets DIRECTORY PROPERTY BUILDSYSTEM_TARGETS)
    share_system_headers(${targets})
endfunction()
