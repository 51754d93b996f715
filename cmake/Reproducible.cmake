# The same sources give the same packages, wherever they are built: no path of this machine gets into a file, and none makes
# another build id. tools/package/same checks it.
add_compile_options(-ffile-prefix-map=${CMAKE_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
# The installation removes a run path, but not the room that it took.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
