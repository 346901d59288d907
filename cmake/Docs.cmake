# The public headers as HTML: cmake --build --preset release --target docs. A warning is an error, so that what the headers
# tell stays whole.

find_package(Doxygen)
if(NOT DOXYGEN_FOUND)
  message(STATUS "Without doxygen there is no target docs")
  return()
endif()

set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
set(DOXYGEN_EXTRACT_ALL YES)
set(DOXYGEN_EXTRACT_STATIC YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_PREDEFINED POINTS_CLOUD_EXPORT= Q_OBJECT= "Q_DISABLE_COPY(x)=" "Q_SIGNALS=public")
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_EXCLUDE_SYMBOLS "detail*")
# Parameters are told of where they need it.
set(DOXYGEN_WARN_IF_INCOMPLETE_DOC NO)
set(DOXYGEN_SHOW_INCLUDE_FILES NO)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
doxygen_add_docs(docs ${PROJECT_SOURCE_DIR}/include COMMENT "Writing the pages of the public headers")
