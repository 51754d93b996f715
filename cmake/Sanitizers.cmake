# What tests need to know: heap and some libraries are a sanitizer's.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    add_compile_definitions(BM_SANITIZED)
endif()

# Clang's shared runtimes are in a folder of their own, GCC's among the system's libraries.
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang AND CMAKE_CXX_FLAGS MATCHES "-shared-libsan")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
        OUTPUT_VARIABLE sanitizer_runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND CMAKE_BUILD_RPATH ${sanitizer_runtime})
endif()
