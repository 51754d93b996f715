# What tests need to know: heap and some libraries are a sanitizer's.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    add_compile_definitions(BM_SANITIZED)
endif()

# Clang's runtimes are in a folder of their own, GCC's among the system's libraries. The one for addresses is shared: programs
# without it load the plug-in.
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang AND CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
        OUTPUT_VARIABLE BM_SANITIZER_RUNTIME OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND CMAKE_BUILD_RPATH ${BM_SANITIZER_RUNTIME})
endif()
