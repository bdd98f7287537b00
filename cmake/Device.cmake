# Two lists of folders have the device's headers and libraries. All are looked for now, so that a
# missing one ends the configuration with its name.
set(VEX_DEVICE_INCLUDE_DIRS "" CACHE STRING "folders of the device's headers")
set(VEX_DEVICE_LIBRARY_DIRS "" CACHE STRING "folders of the device's libraries")

foreach(header android/log.h cutils/properties.h BufferAllocator/BufferAllocator.h
               BufferAllocator/BufferAllocatorWrapper.h ion/ion.h ion/ion_vex.h sync/sync.h
               PxAsyncBlitStream.h)
    find_path(VEX_HEADER_${header} ${header} PATHS ${VEX_DEVICE_INCLUDE_DIRS}
              NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT VEX_HEADER_${header})
        message(FATAL_ERROR "${header} is in none of VEX_DEVICE_INCLUDE_DIRS")
    endif()
endforeach()
target_include_directories(vex_platform_headers SYSTEM INTERFACE ${VEX_DEVICE_INCLUDE_DIRS})

add_library(vex_platform INTERFACE)
foreach(library log cutils dmabufheap ion ion_vex sync pxframework)
    find_library(VEX_LIBRARY_${library} ${library} PATHS ${VEX_DEVICE_LIBRARY_DIRS}
                 NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT VEX_LIBRARY_${library})
        message(FATAL_ERROR "lib${library} is in none of VEX_DEVICE_LIBRARY_DIRS")
    endif()
    target_link_libraries(vex_platform INTERFACE ${VEX_LIBRARY_${library}})
endforeach()
# The device itself finds the libraries that these need in turn.
target_link_options(vex_platform INTERFACE LINKER:--allow-shlib-undefined)
