# Headers of others that most files of the large targets read, read once a target. Only where many
# builds from nothing are made: with it a file that forgets an include goes unnoticed, and clang's
# tools cannot read what GCC has precompiled.
option(MORVALIN_PRECOMPILE "Precompile the libraries' headers for the large targets" OFF)

# morvalin_precompile(TARGET [HEADER...]): besides those that the host's own headers lead to.
function(morvalin_precompile target)
  if(MORVALIN_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE
      <boost/signals2/signal.hpp> <Eigen/Core>
      <functional> <future> <map> <memory> <mutex> <optional> <string> <vector> ${ARGN})
  endif()
endfunction()
