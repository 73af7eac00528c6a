# Debian packages: `cpack -G DEB` in the build directory makes one package
# per install component, and a -dbgsym package with the debug symbols of
# each one that holds binaries.
#   libvelkc1     the shared library (component runtime)
#   libvelkc-dev  headers, pkg-config and CMake files, man pages of the
#                 functions and velkc(7) (component development)
#   velkc-conf    the command-line tool and its manual (component tools)
#   velkc-check   kovacore_check and its manual (component check)
# Runtime dependencies come from dpkg-shlibdeps; the library package carries
# a shlibs file, so packages built against it depend on it in turn.
# cmake/debian/ holds the copyright file, the changelog and the ldconfig
# trigger; cmake/debian/stage.cmake adds the first two to every package and
# compresses the man pages, cmake/debian/repack.cmake mends what cpack gets
# wrong. tests/package_test.sh runs lintian on the result.
set(velkc_debian_dir ${PROJECT_SOURCE_DIR}/cmake/debian)

# The changelog's latest entry names the version being packaged.
file(STRINGS ${velkc_debian_dir}/changelog velkc_changelog_top LIMIT_COUNT 1)
string(REGEX MATCH "^velkc \\(([^)]+)\\)" velkc_changelog_match "${velkc_changelog_top}")
if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "cmake/debian/changelog: the latest entry is for version '${CMAKE_MATCH_1}', "
    "the project's is ${PROJECT_VERSION}: add an entry for ${PROJECT_VERSION}")
endif()

set(CPACK_PACKAGE_NAME velkc)
set(CPACK_PACKAGE_VENDOR "velkc developers")
set(CPACK_PACKAGE_CONTACT "velkc developers <velkc-dev@example.org>")
# Each package's description below starts with its own synopsis; CPack
# would put the project's summary above it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE velkc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tool and the tests link the library of this very build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# Binaries are stripped; their debug symbols go to PACKAGE-dbgsym, found by
# build ID under /usr/lib/debug/.build-id/.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_PRE_BUILD_SCRIPTS ${velkc_debian_dir}/stage.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${velkc_debian_dir}/repack.cmake)
set(CPACK_VELKC_DEBIAN_DIR ${velkc_debian_dir})

set(velkc_about "velkc is the core system library of the storage appliance's operating
software, written in C++ behind a plain C ABI. It provides a per-thread
error record, a string list, a string hash table and a string hash set
(each kept in one heap block), reading and editing of line-oriented
configuration files in place (all or nothing), byte-string utilities,
Unicode helpers and the legacy code pages, and process launching.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvelkc${PROJECT_VERSION_MAJOR})
# Later releases of this major version only add symbols.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "core system library of the storage appliance
${velkc_about}

This package contains the shared library.")
# ldconfig runs from dpkg's trigger, once per run of dpkg, not from
# maintainer scripts (cmake/debian/repack.cmake drops the ones cpack writes).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${velkc_debian_dir}/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvelkc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libicu-dev, pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "core system library of the storage appliance - development files
${velkc_about}

This package contains the C and C++ headers, the pkg-config file, the CMake
package files, a manual page for every function and the overview velkc(7).")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME velkc-conf)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "read and edit configuration files from the shell
velkc-conf gives shell scripts the configuration-file functions of the velkc
library, one setting at a time: get, set and delete a key of a section, list
the keys and sections, dump a file as plain text, shell assignments or JSON,
add, rename and delete sections, and apply several changes read from
standard input. Each invocation is one transaction under the file's writers'
lock: a change is written all or nothing and touches only the lines it
concerns, and a conditional set writes only if the key still holds the value
read.")

set(CPACK_DEBIAN_CHECK_PACKAGE_NAME velkc-check)
set(CPACK_DEBIAN_CHECK_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_CHECK_DEPENDS runtime)
set(CPACK_DEBIAN_CHECK_DESCRIPTION "unit tests of the velkc library
kovacore_check runs the unit-test suites of the velkc library (file, hash,
hash set, list, string and Unicode functions) with the Check framework and
prints the report, so that the library can be tested on the machine it is
installed on. The file suite works on scratch files in /tmp.")

# Only the components this build installs something for.
get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
include(CPack)
