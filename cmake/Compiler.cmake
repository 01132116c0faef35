# Warnings and sanitizers of the project's own targets.

add_library(morvalin_options INTERFACE)

if(MSVC)
  target_compile_options(morvalin_options INTERFACE /W4 /permissive- /utf-8)
  if(MORVALIN_WARNINGS_AS_ERRORS)
    target_compile_options(morvalin_options INTERFACE /WX)
  endif()
else()
  target_compile_options(morvalin_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast -Wcast-qual
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wundef)
  if(MORVALIN_WARNINGS_AS_ERRORS)
    target_compile_options(morvalin_options INTERFACE -Werror)
  endif()
endif()

if(MORVALIN_SANITIZE)
  add_compile_options(-fsanitize=${MORVALIN_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${MORVALIN_SANITIZE})
  if(MORVALIN_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# Hidden unless exported: the host libraries say what is theirs, the plug-in exports its three names.
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# A host library: shared, with its export macro <NAME>_EXPORT in <name/Export.h>, included by its
# folder's name from everywhere.
include(GenerateExportHeader)
function(morvalin_host_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  generate_export_header(${name}
    EXPORT_FILE_NAME ${CMAKE_BINARY_DIR}/generated/${name}/Export.h)
  target_include_directories(${name} PUBLIC
    ${CMAKE_SOURCE_DIR}/host ${CMAKE_BINARY_DIR}/generated)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE morvalin_options ${ARG_PRIVATE})
endfunction()
