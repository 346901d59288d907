# Flags of every target of the project, kept off what is exported to hosts.

add_library(points_cloud_options INTERFACE)
target_compile_definitions(points_cloud_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)

if(MSVC)
  target_compile_options(points_cloud_options INTERFACE /W4 /permissive- /utf-8 /fp:precise)
  if(POINTS_CLOUD_WERROR)
    target_compile_options(points_cloud_options INTERFACE /WX)
  endif()
else()
  # The same bits everywhere: a fused multiply-add would round once where the files of another machine rounded twice.
  target_compile_options(points_cloud_options INTERFACE -Wall -Wextra -Wconversion -Wshadow -ffp-contract=off)
  if(POINTS_CLOUD_WERROR)
    target_compile_options(points_cloud_options INTERFACE -Werror)
  endif()
endif()

if(POINTS_CLOUD_SANITIZE)
  add_compile_options(-fsanitize=${POINTS_CLOUD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${POINTS_CLOUD_SANITIZE})
endif()
# What of the library the tests reach is counted, and not of themselves.
if(POINTS_CLOUD_COVERAGE)
  list(APPEND POINTS_CLOUD_LIBRARY_OPTIONS --coverage -O0)
  add_link_options(--coverage)
endif()
if(POINTS_CLOUD_BUILD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
