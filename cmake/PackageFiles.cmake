# Run by CPack before it makes packages, on what was installed for them.

# The loader finds an installed package's platform by itself, and Debian accepts no file with a run path.
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

# An installation into another folder has all its files there; in a package, settings are in /etc and units where the
# service manager of every Debian looks for them.
file(GLOB packages ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)
foreach(package IN LISTS packages)
    foreach(folder etc lib/systemd)
        if(EXISTS ${package}/usr/${folder})
            cmake_path(GET folder PARENT_PATH parent)
            file(MAKE_DIRECTORY ${package}/${parent})
            file(RENAME ${package}/usr/${folder} ${package}/${folder})
        endif()
    endforeach()
endforeach()
