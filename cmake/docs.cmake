# The reference manual: `cmake --build BUILD --target docs` makes HTML and
# man pages from the comments of the installed headers, into BUILD/docs/.
# Every documented function gets a page of its own in section 3 (a link to
# its header's page), so that `man 3 VELKCFileSetKeyValue` works.
# `cmake --install` installs the man pages when they have been built.
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
set(DOXYGEN_GENERATE_MAN YES)
set(DOXYGEN_MAN_LINKS YES)
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
doxygen_add_docs(docs ${PROJECT_SOURCE_DIR}/lib/include COMMENT "Building the reference manual and man pages")

install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/man/man3 DESTINATION ${CMAKE_INSTALL_MANDIR}
  COMPONENT development OPTIONAL)

if(VELKC_BUILD_TESTS)
  add_test(NAME man_pages COMMAND ${PROJECT_SOURCE_DIR}/tests/man_pages_test.sh
    ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}/tests/exported_symbols.txt)
endif()
