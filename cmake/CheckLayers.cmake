cmake_minimum_required(VERSION 3.25)

# Fails when a source file includes a header of a higher layer, or when Qt Widgets are included
# below the screens. Run by the build before any library compiles:
#
#   cmake -DSOURCE_DIR=<repository> -P cmake/CheckLayers.cmake
#
# The layers, lowest first. A folder of src/ may include headers of its own layer and of the
# layers below it, never above; tests/<folder> may include what src/<folder> may (and tests/
# support). A subfolder listed on its own (capture/screen, the save screen) sits where it is
# listed, not with its parent. Every folder of src/ must be listed.
set(PEXI_LAYERS
    "core"
    "websocket platform"
    "capture"
    "extension"
    "app ui recall inventory capture/screen")

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "CheckLayers.cmake needs -DSOURCE_DIR=<repository>")
endif()

set(folders "")
set(level 0)
foreach(layer ${PEXI_LAYERS})
  string(REPLACE " " ";" members "${layer}")
  foreach(folder ${members})
    set(level_of_${folder} ${level})
    list(APPEND folders ${folder})
  endforeach()
  math(EXPR level "${level} + 1")
endforeach()
math(EXPR top "${level} - 1")
# Longest first, so that capture/screen wins over capture.
list(SORT folders COMPARE STRING ORDER DESCENDING)

# Sets `out` to the listed folder that `path` (relative, with '/') lies in, or to "".
function(folder_of path out)
  foreach(folder ${folders})
    string(FIND "${path}" "${folder}/" at)
    if(at EQUAL 0)
      set(${out} ${folder} PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${out} "" PARENT_SCOPE)
endfunction()

# The folders a file of `level` may include from, for the message.
function(allowed_below level out)
  set(names "")
  foreach(folder ${folders})
    if(NOT level_of_${folder} GREATER level)
      list(APPEND names ${folder})
    endif()
  endforeach()
  list(SORT names)
  list(JOIN names ", " text)
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

set(violations "")
file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR}
     ${SOURCE_DIR}/src/*.h ${SOURCE_DIR}/src/*.cpp ${SOURCE_DIR}/tests/*.h ${SOURCE_DIR}/tests/*.cpp)
foreach(source ${sources})
  string(REGEX REPLACE "^(src|tests)/" "" inside "${source}")
  if(NOT inside MATCHES "/")
    continue() # src/main.cpp: the program itself, above every layer
  endif()
  folder_of("${inside}" folder)
  if(NOT folder)
    if(source MATCHES "^src/")
      string(REGEX REPLACE "/.*" "" new "${inside}")
      list(APPEND violations "${source}: src/${new} is in no layer: add it to PEXI_LAYERS")
    endif()
    continue() # tests/support, tests/e2e: shared by the tests of every layer
  endif()
  set(level ${level_of_${folder}})

  file(STRINGS ${SOURCE_DIR}/${source} includes REGEX "^[ \t]*#[ \t]*include[ \t]*[\"<]")
  foreach(line ${includes})
    string(REGEX MATCH "[\"<]([^\">]+)[\">]" _ "${line}")
    set(header "${CMAKE_MATCH_1}")
    if(header MATCHES "^QtWidgets($|/)" AND level LESS top)
      list(APPEND violations
           "${source}: includes <${header}>: Qt Widgets belong to the screens' layer only")
      continue()
    endif()
    folder_of("${header}" target)
    if(target AND level_of_${target} GREATER level)
      allowed_below(${level} allowed)
      list(APPEND violations
           "${source}: includes \"${header}\" from above (${folder} may include ${allowed})")
    endif()
  endforeach()
endforeach()

if(violations)
  list(JOIN violations "\n  " text)
  message(FATAL_ERROR "Includes must point down the layers (table in cmake/CheckLayers.cmake):\n  ${text}")
endif()
