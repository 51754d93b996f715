# The Debian packages, one per component, made by CPack from the preset release: ./dev package. Each install command
# names its component.
file(STRINGS ${PROJECT_SOURCE_DIR}/packaging/changelog changelog LIMIT_COUNT 1)
if(NOT changelog MATCHES "^ipmi-adaptor \\(${PROJECT_VERSION}-([0-9]+)\\) ")
    message(FATAL_ERROR "packaging/changelog begins with another version than ${PROJECT_VERSION}-N: ${changelog}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
file(STRINGS ${PROJECT_SOURCE_DIR}/packaging/changelog changelog REGEX "^ -- .*>  " LIMIT_COUNT 1)
string(REGEX REPLACE "^ -- (.*>)  .*" "\\1" CPACK_PACKAGE_CONTACT "${changelog}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/changelog)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ipmi-adaptor)
set(CPACK_COMPONENTS_ALL ${BM_PACKAGES})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Each package with programs or libraries has a second one, NAME-dbgsym, with what is stripped from them: debuggers find it by
# the build id.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageFiles.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE ipmi-adaptor)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Other projects' libraries are found and become dependencies; the packages depend on exactly the same version of each
# other.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# bm_package(NAME SECTION): the package's description follows in the variable that CPack reads; the first line is the
# summary.
macro(bm_package name section)
    string(TOUPPER ${name} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
endmacro()

bm_package(libipmi-adaptor libs)
set(CPACK_DEBIAN_LIBIPMI-ADAPTOR_DESCRIPTION "IPMI hardware adaptor for board-manager hosts
A plug-in library that lets a board-manager host run one ATCA media blade: it
learns the carrier board, its AMC modules and its rear transition module over
IPMI, gives them to the host as tables of numbered values, brings DSPs and
media software up, watches them and upgrades firmware.

With it comes the development platform, which implements the host's interfaces
on Linux, and all documents.")
# Programs that link the platform depend on its interface, which is the same for several versions: docs/packaging.md.
set(CPACK_DEBIAN_LIBIPMI-ADAPTOR_PACKAGE_PROVIDES "libbm-platform${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
configure_file(packaging/shlibs.in ${CMAKE_BINARY_DIR}/packaging/shlibs @ONLY)
set(CPACK_DEBIAN_LIBIPMI-ADAPTOR_PACKAGE_CONTROL_EXTRA
    ${CMAKE_BINARY_DIR}/packaging/shlibs ${PROJECT_SOURCE_DIR}/packaging/triggers)

bm_package(libipmi-adaptor-dev libdevel)
set(CPACK_COMPONENT_LIBIPMI-ADAPTOR-DEV_DEPENDS libipmi-adaptor)
set(CPACK_DEBIAN_LIBIPMI-ADAPTOR-DEV_DESCRIPTION "development of hosts for the IPMI hardware adaptor
The interfaces between a board-manager host and its adaptors as C++ headers,
what pkg-config and CMake need to find the platform and the plug-in, and a
worked example of a host.")

bm_package(bmhost admin)
set(CPACK_COMPONENT_BMHOST_DEPENDS libipmi-adaptor)
set(CPACK_DEBIAN_BMHOST_PACKAGE_DEPENDS zstd) # bmhost report
set(CPACK_DEBIAN_BMHOST_PACKAGE_SUGGESTS "bmhost-web, ca-certificates, bladesim")
foreach(file conffiles postinst prerm postrm)
    list(APPEND CPACK_DEBIAN_BMHOST_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/service/${file})
endforeach()
set(CPACK_DEBIAN_BMHOST_DESCRIPTION "reference host for the IPMI hardware adaptor
Loads an adaptor as a board manager does and makes the calls that it is given,
on the command line, in scripts with JSON output, or at a prompt. Shows a
blade's inventory, LEDs, DSPs and switch ports as tables, sets them, upgrades
firmware, and runs as a resident host: bmhost.service, which keeps a picture of
the blade and answers everybody who asks.")

bm_package(bmhost-web admin)
set(CPACK_COMPONENT_BMHOST-WEB_DEPENDS bmhost)
foreach(file conffiles postinst prerm postrm)
    list(APPEND CPACK_DEBIAN_BMHOST-WEB_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/web/${file})
endforeach()
set(CPACK_DEBIAN_BMHOST-WEB_DESCRIPTION "web door of the IPMI hardware adaptor's reference host
Lets people and programs elsewhere see and operate a blade over HTTP: with TLS
and accounts, or on a loopback address without TLS. It is a client of the
resident host, in a process of its own without any rights of root:
bmhost-web.service, which is neither enabled nor started by its package.")

bm_package(bmhost-fleet admin)
set(CPACK_DEBIAN_BMHOST-FLEET_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_BMHOST-FLEET_PACKAGE_DEPENDS python3)
set(CPACK_DEBIAN_BMHOST-FLEET_PACKAGE_RECOMMENDS "prometheus, prometheus-alertmanager, ansible")
set(CPACK_DEBIAN_BMHOST-FLEET_DESCRIPTION "many blades with Prometheus, Alertmanager and Ansible
What these need to watch and maintain blades that have the web door: a tool
that makes targets and inventory from a list of shelves, rules and alerts,
messages by shelf, consoles that show the fleet and a blade's history, and
playbooks for inventory, rolling firmware upgrades and finding a blade.")

bm_package(bladesim admin)
set(CPACK_COMPONENT_BLADESIM_DEPENDS libipmi-adaptor)
set(CPACK_DEBIAN_BLADESIM_PACKAGE_DEPENDS openipmi)
set(CPACK_DEBIAN_BLADESIM_PACKAGE_SUGGESTS "bmhost, bmhost-web, ipmitool")
set(CPACK_DEBIAN_BLADESIM_DESCRIPTION "simulated ATCA media blade
Brings a blade up around any command, in namespaces of its own: a controller
that answers IPMI behind /dev/ipmi0 and over the network, the board's driver
file, its Ethernet switch, and stand-ins for its tools and media software.
What goes wrong in it can be ordered; nothing of it is left when the command
has ended.")

include(CPack)
