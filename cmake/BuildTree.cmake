# The build tree has the shape of an installed one, so that nothing in a program tells the two apart
# and nothing that is installed names the build tree: the library finds its helpers and resources
# below the prefix around the command.
set(ORV_BUILT_PROGRAMS ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
set(ORV_BUILT_LIBRARIES ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(ORV_BUILT_HELPERS ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBEXECDIR}/orv)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_DATADIR})
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/resources
    ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_DATADIR}/orv SYMBOLIC)

# For programs that lie elsewhere in the build tree, such as tests.
add_library(orv_in_build_tree OBJECT EXCLUDE_FROM_ALL cmake/InBuildTree.cpp)
target_compile_definitions(orv_in_build_tree PRIVATE ORV_BUILD_TREE="${PROJECT_BINARY_DIR}")
