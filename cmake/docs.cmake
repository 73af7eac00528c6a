# The reference manual: `cmake --build BUILD --target docs` makes HTML and
# man pages from the comments of the installed headers, into BUILD/docs/.
# Doxygen writes the HTML and an XML description of the headers, from which
# doc/man_pages.cpp writes the man pages (BUILD/docs/man/): in section 3 a
# page for every function and variable of the C headers, so that
# `man 3 VELKCFileSetKeyValue` works, and in section 7 the overview
# velkc(7), with the families, the error codes of VELKC_ERROR_CODES and what
# a configuration change guarantees (template doc/velkc.7.in).
# `cmake --install` installs the man pages, uncompressed, when they have been
# built; the Debian packages hold them compressed (cmake/debian/stage.cmake).
find_package(Doxygen)
if(NOT DOXYGEN_FOUND)
  return()
endif()

set(DOXYGEN_PROJECT_NAME ${PROJECT_NAME})
set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
set(DOXYGEN_OPTIMIZE_OUTPUT_FOR_C YES)
set(DOXYGEN_FULL_PATH_NAMES NO)
set(DOXYGEN_GENERATE_HTML YES)
set(DOXYGEN_GENERATE_MAN NO)
set(DOXYGEN_GENERATE_XML YES)
set(DOXYGEN_XML_PROGRAMLISTING NO)
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_WARN_IF_UNDOCUMENTED YES)
set(DOXYGEN_WARN_NO_PARAMDOC YES)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_EXCLUDE_SYMBOLS detail)
# The headers' linkage macros mean nothing to a reader of the manual.
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED VELKC_API= VELKC_NOEXCEPT= VELKC_BEGIN_DECLS= VELKC_END_DECLS=)
doxygen_add_docs(docs_doxygen ${PROJECT_SOURCE_DIR}/lib/include COMMENT "Building the reference manual")

# Built for the docs target only. It includes velkc/error.h for the table of
# error codes and links nothing of the library.
add_executable(velkc_man_pages EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/doc/man_pages.cpp)
target_include_directories(velkc_man_pages PRIVATE ${PROJECT_SOURCE_DIR}/lib/include)
add_custom_target(docs
  COMMAND velkc_man_pages ${PROJECT_BINARY_DIR}/docs/xml ${PROJECT_SOURCE_DIR}/doc/velkc.7.in
    ${PROJECT_BINARY_DIR}/docs/man ${PROJECT_VERSION}
  COMMENT "Writing the man pages" VERBATIM)
add_dependencies(docs docs_doxygen)

install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}
  COMPONENT development OPTIONAL)

if(VELKC_BUILD_TESTS)
  add_test(NAME man_pages COMMAND ${PROJECT_SOURCE_DIR}/tests/man_pages_test.sh
    ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}/tests/exported_symbols.txt
    ${PROJECT_SOURCE_DIR}/lib/include/velkc/error.h)
  set_tests_properties(man_pages PROPERTIES RESOURCE_LOCK docs)
endif()
