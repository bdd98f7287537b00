# The device's C library declares getprogname() in stdlib.h. For a C library that doesn't have it, the
# source that calls it is compiled with ProgramName.h, and the target gets ProgramName.cpp.
include(CheckSymbolExists)
set(CMAKE_REQUIRED_DEFINITIONS -D_GNU_SOURCE)
check_symbol_exists(getprogname stdlib.h VEX_LIBC_HAS_GETPROGNAME)
unset(CMAKE_REQUIRED_DEFINITIONS)

function(add_getprogname target source)
    if(NOT VEX_LIBC_HAS_GETPROGNAME)
        set(folder ${PROJECT_SOURCE_DIR}/platform/host/libc)
        target_sources(${target} PRIVATE ${folder}/ProgramName.cpp)
        set_source_files_properties(${source} PROPERTIES
            COMPILE_OPTIONS "-include;${folder}/ProgramName.h")
    endif()
endfunction()
