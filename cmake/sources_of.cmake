# sources_of(VARIABLE FOLDER [REGEX]): sets the variable to the sources of the folder for this target, without those whose name matches.
function(sources_of variable folder)
    file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
    list(FILTER sources EXCLUDE REGEX "_${QTV_OTHER_TARGET}\\.cpp$")
    foreach(regex ${ARGN})
        list(FILTER sources EXCLUDE REGEX "/(${regex})\\.cpp$")
    endforeach()
    set(${variable} ${sources} PARENT_SCOPE)
endfunction()
