add_library(orv_warnings INTERFACE)
target_compile_options(orv_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wformat=2 -Wimplicit-fallthrough
    # GCC 12 sees overlapping copies in its own std::string when it optimises.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    # It takes a source file that a joining one includes for a header.
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>
    $<$<BOOL:${ORV_WERROR}>:-Werror>)
