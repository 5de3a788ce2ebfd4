# Read by the project of liblzma when scripts/bootstrap.sh builds it. Nearly all of its sources include these headers.
cmake_language(DEFER CALL target_precompile_headers liblzma PRIVATE <windows.h> <inttypes.h> <string.h>)
