# add_machine_program(TARGET [WINDOWED] SOURCE...): adds a program with wWinMain that runs on a machine. On Windows a
# windowed program has no console. On the host winhost calls wWinMain.
function(add_machine_program target)
    cmake_parse_arguments(PARSE_ARGV 1 program WINDOWED "" "")
    add_executable(${target} ${program_UNPARSED_ARGUMENTS})
    set_target_properties(${target} PROPERTIES SUFFIX .exe)
    if(NOT WIN32)
        target_link_libraries(${target} PRIVATE winhost_entry)
    elseif(program_WINDOWED)
        target_link_options(${target} PRIVATE -mwindows)
    endif()
endfunction()
