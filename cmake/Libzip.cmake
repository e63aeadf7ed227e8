# libzip, which the library loads when it needs it, by the name that programs linked with it would have.
pkg_check_modules(ORV_LIBZIP REQUIRED IMPORTED_TARGET libzip)
find_library(ORV_LIBZIP_FILE zip REQUIRED NO_CACHE HINTS ${ORV_LIBZIP_LIBDIR})
execute_process(COMMAND ${CMAKE_OBJDUMP} -p ${ORV_LIBZIP_FILE} OUTPUT_VARIABLE headers)
if(headers MATCHES "SONAME +([^\n]+)")
    set(ORV_LIBZIP_NAME ${CMAKE_MATCH_1})
else()
    message(FATAL_ERROR "${ORV_LIBZIP_FILE} is no shared library, which libzip has to be.")
endif()
