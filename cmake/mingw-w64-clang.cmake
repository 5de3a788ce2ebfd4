# The Windows target with clang instead of GCC, for its warnings. Headers, libraries and linker are those of mingw-w64.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
# Clang does not find the runtime library of a GCC whose folder has a suffix.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name OUTPUT_VARIABLE runtime)
get_filename_component(runtime ${runtime} DIRECTORY)
set(CMAKE_CXX_FLAGS_INIT "-isystem ${runtime}/include/c++ -isystem ${runtime}/include/c++/x86_64-w64-mingw32")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -L${runtime}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static -L${runtime}")
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
