# The device's C library says in stdlib.h how the program was called. Where a C library doesn't, a
# header of ours does, put before the source that asks.
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
