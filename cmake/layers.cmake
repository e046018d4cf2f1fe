# The layers of the code, one folder and one library each, lowest first. A
# folder includes only folders listed before it, and a library links only
# libraries of those folders; a folder's tests link its library and those
# below. This list is the one place that says so: the build refuses a link
# upwards, and the test layers_include_only_layers_below_them refuses an
# include upwards and any cycle among the folders.
#
#   records     plain records that cross layers and host jobs: frames,
#               pyramids, features, matches, pair tables, lens values
#   platform    the engine's side of the host: suite tables, progress,
#               debugger output, soft checks, the random draws
#   numerics    dense matrices over LAPACK, decompositions, Rodrigues,
#               polynomial roots, the error function
#   host        the host imaging library: suites, dictionaries, the image
#               kernels and the feature and matching jobs
#   solvers     Levenberg-Marquardt, dense and sparse, point elimination
#               and the bundle adjusters
#   geometry    the planar motion, its estimators, the robust search and
#               its samplers, the pair refinement and rotation models
#   graph       the view graph and feature tracks
#   features    pyramids, keypoints and descriptors through the host jobs
#   matching    descriptor matching of every pair
#   transforms  the output transforms and the overlap measure
#   planar      the joint refinement of planar groups
#   rotation    rotation pairs, rotation and fisheye cameras, the group
#               refinement and its surface
#   pipeline    the driver and its stages, the results record
#   plugin      the exported surface: script functions, intake, report
#   photographs image files and pictures in memory through libvips, reduced
#               copies and their units, folders, the built-in scene
#   session     an alignment in the engine's own process, its progress, and
#               its answer in pixels of the images as given
#   outputs     JSON, previews and Hugin projects, all written or none
#   hugin       Hugin's control point detector
#   api         the C++ interface <lacewright/align.h>
#   command_line the lacewright tool
#   python      the Python package lacewright
# The interface's headers under include/lacewright/ hold only the standard
# library's types; every layer from photographs up may use them.
set(LACEWRIGHT_LAYERS
  records platform numerics host solvers geometry graph features matching transforms planar rotation
  pipeline plugin photographs session outputs hugin api command_line python)

function(lacewright_layer_rank layer out)
  list(FIND LACEWRIGHT_LAYERS ${layer} rank)
  if(rank EQUAL -1)
    message(FATAL_ERROR "'${layer}' is no layer of LACEWRIGHT_LAYERS")
  endif()
  set(${out} ${rank} PARENT_SCOPE)
endfunction()

# Fails the configuration when `layer` would use a layer that is not below it.
# `libraries` may hold any targets; only the layers' own libraries
# (lacewright_<layer>) are checked.
function(lacewright_check_below layer libraries)
  lacewright_layer_rank(${layer} own)
  foreach(library ${libraries})
    if(library MATCHES "^lacewright_([a-z]+)$" AND CMAKE_MATCH_1 IN_LIST LACEWRIGHT_LAYERS)
      lacewright_layer_rank(${CMAKE_MATCH_1} used)
      if(NOT used LESS_EQUAL own)
        message(FATAL_ERROR "${layer} may not use ${library}: it is not below it in LACEWRIGHT_LAYERS")
      endif()
    endif()
  endforeach()
endfunction()

# lacewright_layer(<folder> SOURCES <files...> [USES <layers...>] [LINKS <targets...>])
# The folder's library, linking the layers it uses (which must be below it)
# and outside libraries.
function(lacewright_layer layer)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES;LINKS" ${ARGN})
  set(used)
  foreach(lower ${ARG_USES})
    list(APPEND used lacewright_${lower})
  endforeach()
  lacewright_check_below(${layer} "${used}")
  add_library(lacewright_${layer} STATIC ${ARG_SOURCES})
  target_include_directories(lacewright_${layer} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(lacewright_${layer} PUBLIC ${used} ${ARG_LINKS})
endfunction()
