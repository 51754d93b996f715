# Run by CPack before it makes packages: the loader finds an installed package's platform by itself, and Debian accepts
# no file with a run path.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)
foreach(file IN LISTS files)
    # The development package's link leads to a file of another package.
    if(NOT IS_SYMLINK ${file})
        file(READ ${file} magic LIMIT 4 HEX)
        if(magic STREQUAL 7f454c46)
            file(RPATH_REMOVE FILE ${file})
        endif()
    endif()
endforeach()
