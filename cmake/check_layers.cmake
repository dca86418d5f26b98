# cmake -D LAYERS="tarvel_FOLDER:tarvel_FOLDER|...,..." -D SOURCE=src -P check_layers.cmake
#
# LAYERS has the link line of each target, which is also a layer and a folder of src/. Fails when a file includes a
# header that is neither in its own folder nor in the folder of a target that its target links, directly or through
# others.
cmake_policy(VERSION 3.25)
string(REPLACE "tarvel_" "" LAYERS "${LAYERS}")
string(REPLACE "," ";" LAYERS "${LAYERS}")
foreach(layer ${LAYERS})
  string(REGEX MATCH "^([a-z]+):(.*)$" matched ${layer})
  set(folder ${CMAKE_MATCH_1})
  string(REPLACE "|" ";" used "${CMAKE_MATCH_2}")
  # A target is declared after those that it uses: their lists are complete.
  set(below_${folder} ${folder})
  foreach(other ${used})
    list(APPEND below_${folder} ${below_${other}})
  endforeach()

  file(GLOB files ${SOURCE}/${folder}/*.h ${SOURCE}/${folder}/*.cpp)
  foreach(file ${files})
    file(STRINGS ${file} includes REGEX "^#include \"")
    foreach(include ${includes})
      string(REGEX REPLACE "^#include \"([a-z]+)/.*" "\\1" included ${include})
      if(NOT included IN_LIST below_${folder})
        message(SEND_ERROR "${file}: ${include} lies outside the layers below ${folder}/")
      endif()
    endforeach()
  endforeach()
endforeach()
