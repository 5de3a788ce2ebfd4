# LibLZMA::LibLZMA: the library that packs and unpacks a download. The host has it from its system. For Windows,
# scripts/bootstrap.sh builds it in build/liblzma, at the latest when it is needed.
if(WIN32)
    set(liblzma ${CMAKE_SOURCE_DIR}/build/liblzma)
    file(MAKE_DIRECTORY ${liblzma}/include)
    add_custom_command(OUTPUT ${liblzma}/lib/liblzma.a COMMAND ${CMAKE_SOURCE_DIR}/scripts/bootstrap.sh download VERBATIM)
    add_custom_target(liblzma DEPENDS ${liblzma}/lib/liblzma.a)
    add_library(LibLZMA::LibLZMA STATIC IMPORTED GLOBAL)
    add_dependencies(LibLZMA::LibLZMA liblzma)
    set_target_properties(LibLZMA::LibLZMA PROPERTIES
        IMPORTED_LOCATION ${liblzma}/lib/liblzma.a
        INTERFACE_INCLUDE_DIRECTORIES ${liblzma}/include
        INTERFACE_COMPILE_DEFINITIONS LZMA_API_STATIC)
else()
    find_package(LibLZMA REQUIRED)
endif()
