# Read by the project of liblzma when scripts/bootstrap.sh builds it. A download can be read with what it contains, and nothing else:
# LZMA2, the filters for code of Intel and ARM64, CRC32 and SHA-256. Tests also pack.
function(take_what_a_download_needs)
    get_target_property(sources liblzma SOURCES)
    list(FILTER sources EXCLUDE REGEX
        "/((arm|armthumb|ia64|powerpc|sparc)|(delta|crc64|alone|auto|lzip|microlzma|file_info)[a-z_]*)\\.[chS]$")
    set_target_properties(liblzma PROPERTIES SOURCES "${sources}")
    get_directory_property(definitions COMPILE_DEFINITIONS)
    list(FILTER definitions EXCLUDE REGEX "^HAVE_((DE|EN)CODER_(ARM|ARMTHUMB|DELTA|IA64|LZMA1|POWERPC|SPARC)|CHECK_CRC64|LZIP_DECODER)$")
    set_directory_properties(PROPERTIES COMPILE_DEFINITIONS "${definitions}")
    # Nearly all sources include these headers.
    target_precompile_headers(liblzma PRIVATE <windows.h> <inttypes.h> <string.h>)
endfunction()
cmake_language(DEFER CALL take_what_a_download_needs)
