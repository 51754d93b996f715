# Hardening of what is shipped; tools/package/hardened checks the files. Unoptimised builds have nothing to fortify, and those
# with a sanitizer bring their own checks.
add_compile_options(-fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|i[3-6]86)$")
    # The code is ready for Intel's CET. Debian's start files are not, so the linked files do not claim it.
    add_compile_options(-fcf-protection=full)
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
# Position-independent executables, and not only code that could be one.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
