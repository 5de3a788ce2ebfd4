# What package makers need without a build: programs, scripts and documents, for `cmake --install` and cpack. The programs of Windows
# come from its own build folder, which the variable QTV_WINDOWS_BUILD of the environment names.
# scripts/package_tools.sh builds what is needed.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(home lib/qantivo-setup)
file(CONFIGURE OUTPUT installed/version CONTENT "${QTV_VERSION}\n")

install(TARGETS package_make package_check rehearse winmachine download_make setup rehearse_stand_in
    DESTINATION ${home}/host)
install(TARGETS regsvr32 DESTINATION ${home}/host/system32)
install(CODE "
    set(windows \"\$ENV{QTV_WINDOWS_BUILD}\")
    if(NOT windows)
        set(windows \"${CMAKE_SOURCE_DIR}/build/windows\")
    endif()
    foreach(program setup rehearse download)
        file(INSTALL \"\${windows}/\${program}.exe\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${home}/windows\")
    endforeach()")
install(FILES build/liblzma/version DESTINATION ${home}/windows RENAME liblzma-version)
install(PROGRAMS scripts/release.sh scripts/make_download.sh scripts/wine.sh DESTINATION ${home}/scripts)
install(FILES scripts/lib.sh scripts/signing.sh scripts/winget.sh DESTINATION ${home}/scripts)
install(FILES ${CMAKE_BINARY_DIR}/installed/version DESTINATION ${home})
# A command is a link. Programs and scripts find what belongs to them from the place to which it leads.
foreach(command package_make=host/package_make package_check=host/package_check rehearse=host/rehearse winmachine=host/winmachine
        download_make=host/download_make package_release=scripts/release.sh package_download=scripts/make_download.sh)
    string(REGEX MATCH "^(.*)=(.*)$" command ${command})
    install(CODE "
        file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
        file(CREATE_LINK ../${home}/${CMAKE_MATCH_2} \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/${CMAKE_MATCH_1}\" SYMBOLIC)")
endforeach()
set(documents share/doc/qantivo-setup)
set(contact "Lorvanta Technology LLC <setup@lorvanta.example>")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(CONFIGURE OUTPUT installed/changelog CONTENT "qantivo-setup (${QTV_VERSION}) unstable; urgency=medium

  * CHANGELOG.md says what has changed.

 -- ${contact}  ${date}
")
execute_process(COMMAND gzip -9nc ${CMAKE_BINARY_DIR}/installed/changelog OUTPUT_FILE ${CMAKE_BINARY_DIR}/installed/changelog.gz
    COMMAND_ERROR_IS_FATAL ANY)
file(CONFIGURE OUTPUT installed/copyright CONTENT "Copyright Lorvanta Technology LLC. All rights stay with the maker unless the maker says otherwise.

The programs in lib/qantivo-setup/windows contain liblzma, which is in the public domain, and the runtime libraries of GCC and
mingw-w64, whose licences allow that.
")
install(FILES ${CMAKE_BINARY_DIR}/installed/changelog.gz ${CMAKE_BINARY_DIR}/installed/copyright CHANGELOG.md
    DESTINATION ${documents})
install(FILES docs/releasing.md docs/manifest.md docs/deployment.md docs/security.md DESTINATION ${documents})
install(DIRECTORY docs/pictures DESTINATION ${documents})
install(FILES sample/recipe.txt sample/release-info.txt DESTINATION ${documents}/examples)

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME qantivo-setup)
set(CPACK_PACKAGE_VENDOR Lorvanta)
set(CPACK_PACKAGE_CONTACT ${contact})
set(CPACK_PACKAGE_VERSION ${QTV_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "makes, checks and rehearses setup packages for Windows")
set(CPACK_PACKAGE_DESCRIPTION "A package is a folder with an application and its setup program.
These tools make one from a folder of files, check it, rehearse its
installation on a throwaway machine, and make a signed download of it.")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What a whole release takes besides.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "binutils, binutils-mingw-w64-x86-64, osslsigncode, wine64")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS libengine-pkcs11-openssl)
include(CPack)
