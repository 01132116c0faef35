# Boost for the cross-build. Debian has no libraries of it for Windows, and none are needed: what
# this project uses of Boost is all in its headers.
set(Boost_INCLUDE_DIRS ${MORVALIN_WINDOWS_CACHE}/prefix/include)
set(Boost_INCLUDE_DIR ${Boost_INCLUDE_DIRS})

add_library(Boost::headers INTERFACE IMPORTED)
target_include_directories(Boost::headers INTERFACE ${Boost_INCLUDE_DIRS})
target_compile_definitions(Boost::headers INTERFACE BOOST_ALL_NO_LIB)
# Other compilers are told by the headers themselves.
target_link_libraries(Boost::headers INTERFACE ws2_32 mswsock)
foreach(component boost thread system)
  add_library(Boost::${component} INTERFACE IMPORTED)
  target_link_libraries(Boost::${component} INTERFACE Boost::headers)
  set(Boost_${component}_FOUND TRUE)
  string(TOUPPER ${component} upper)
  set(Boost_${upper}_FOUND TRUE)
endforeach()
set(Boost_FOUND TRUE)
