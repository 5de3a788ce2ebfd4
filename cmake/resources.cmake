# add_program_resources(TARGET FILE.rc [WINDRES-OPTION...]): adds resources to a program. On Windows the linker adds them. A host
# program has the compiled .res in a section of its own, where winhost reads it.
set(QTV_WINDRES x86_64-w64-mingw32-windres)
set(QTV_RESOURCE_STUB ${CMAKE_CURRENT_LIST_DIR}/resource_section.S.in)
if(NOT WIN32)
    enable_language(ASM)
endif()

function(add_program_resources target script)
    get_filename_component(script ${script} ABSOLUTE)
    file(GLOB inputs CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/res/*)
    if(WIN32)
        set(format coff)
        set(compiled ${CMAKE_CURRENT_BINARY_DIR}/${target}.res.o)
    else()
        set(format res)
        set(compiled ${CMAKE_CURRENT_BINARY_DIR}/${target}.res)
    endif()
    get_filename_component(folder ${script} DIRECTORY)
    add_custom_command(
        OUTPUT ${compiled}
        COMMAND ${QTV_WINDRES} -O ${format} -c 65001 -I ${folder} -I ${CMAKE_SOURCE_DIR}/res
                -D QTV_APP_VERSION=${QTV_APP_VERSION} ${ARGN} -i ${script} -o ${compiled}
        DEPENDS ${script} ${inputs}
        VERBATIM)
    if(WIN32)
        set_source_files_properties(${compiled} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
        target_sources(${target} PRIVATE ${compiled})
    else()
        set(QTV_COMPILED_RESOURCES ${compiled})
        set(stub ${CMAKE_CURRENT_BINARY_DIR}/${target}.res.S)
        configure_file(${QTV_RESOURCE_STUB} ${stub} @ONLY)
        set_source_files_properties(${stub} PROPERTIES OBJECT_DEPENDS ${compiled})
        target_sources(${target} PRIVATE ${stub})
    endif()
endfunction()
