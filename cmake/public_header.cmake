# The public header and every header it needs, copied for installation.
#
# The engine's headers name each other from the source root
# ("plugin/script_value.h"). Installed, they live under one folder of the
# package's own and name each other from the include root
# (<lacewright/plugin/script_value.h>), so that a consumer needs nothing on
# its include path but that root, and no folder name of the engine can meet
# one of the consumer's own. <lacewright/lacewright.h> leads to the header
# that declares the exports.
#
# The set is found by following the header's quoted includes, so it stays
# whole when a header gains an include or moves.

# Every header that `entry` includes, itself and through others, by its path
# from the source root, `entry` first.
function(lacewright_header_closure entry result)
  set(pending ${entry})
  set(found)
  while(pending)
    list(POP_FRONT pending header)
    if(header IN_LIST found)
      continue()
    endif()
    list(APPEND found ${header})
    file(STRINGS "${PROJECT_SOURCE_DIR}/${header}" includes REGEX "^#include \"")
    foreach(line IN LISTS includes)
      string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
      list(APPEND pending ${included})
    endforeach()
  endwhile()
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# Writes `text` to `path` unless it holds it already, so that consumers of
# an unchanged copy are not rebuilt.
function(lacewright_write_if_changed path text)
  if(EXISTS "${path}")
    file(READ "${path}" old)
    if(old STREQUAL text)
      return()
    endif()
  endif()
  file(WRITE "${path}" "${text}")
endfunction()

# Installs `entry`'s closure under ${CMAKE_INSTALL_INCLUDEDIR}/lacewright and
# a <lacewright/lacewright.h> that includes `entry`.
function(lacewright_install_public_header entry)
  lacewright_header_closure(${entry} headers)
  set(copies "${PROJECT_BINARY_DIR}/include/lacewright")
  foreach(header IN LISTS headers)
    set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
                 "${PROJECT_SOURCE_DIR}/${header}")
    file(READ "${PROJECT_SOURCE_DIR}/${header}" text)
    string(REGEX REPLACE "#include \"([^\"]+)\"" "#include <lacewright/\\1>" text "${text}")
    lacewright_write_if_changed("${copies}/${header}" "${text}")
    get_filename_component(folder "${header}" DIRECTORY)
    install(FILES "${copies}/${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/lacewright/${folder}")
  endforeach()
  lacewright_write_if_changed("${copies}/lacewright.h"
    "// The plug-in's exported calls; see the header it includes.\n#pragma once\n\n#include <lacewright/${entry}>\n")
  install(FILES "${copies}/lacewright.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/lacewright")
endfunction()
