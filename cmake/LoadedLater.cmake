# Libraries that are loaded when they are needed, by the name that programs linked with them would have.

# Finds `library`, a part of the package `package`, and sets PREFIX_NAME to the name of its file.
function(orv_find_loaded_later prefix package library)
    pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET ${package})
    find_library(file ${library} REQUIRED NO_CACHE HINTS ${${prefix}_LIBDIR})
    execute_process(COMMAND ${CMAKE_OBJDUMP} -p ${file} OUTPUT_VARIABLE headers)
    if(NOT headers MATCHES "SONAME +([^\n]+)")
        message(FATAL_ERROR "${file} is no shared library, which ${package} has to be.")
    endif()
    set(${prefix}_NAME ${CMAKE_MATCH_1} PARENT_SCOPE)
    set(${prefix}_INCLUDE_DIRS ${${prefix}_INCLUDE_DIRS} PARENT_SCOPE)
endfunction()

orv_find_loaded_later(ORV_LIBZIP libzip zip)
orv_find_loaded_later(ORV_LIBCRYPTO libcrypto crypto)
orv_find_loaded_later(ORV_LIBDEFLATE libdeflate deflate)
orv_find_loaded_later(ORV_UCHARDET uchardet uchardet)
orv_find_loaded_later(ORV_LIBPNG libpng png16)
orv_find_loaded_later(ORV_TURBOJPEG libturbojpeg turbojpeg)
orv_find_loaded_later(ORV_LIBMD libmd md)
