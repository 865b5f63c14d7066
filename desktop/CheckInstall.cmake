# Installs the build into a scratch prefix and checks that the program, its desktop entry and
# every icon land in the folders (share/applications, share/icons/hicolor) where desktops look.
#   cmake -DBUILD=… -DAPP_ID=… -DSIZES="16;22;…" -P CheckInstall.cmake
string(RANDOM LENGTH 8 tag)
set(prefix "${BUILD}/install-check-${tag}")
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix}
  RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install failed")
endif()
set(expected
  bin/vimbo
  share/applications/${APP_ID}.desktop
  share/metainfo/${APP_ID}.metainfo.xml
  share/icons/hicolor/scalable/apps/${APP_ID}.svg)
foreach(size ${SIZES})
  list(APPEND expected share/icons/hicolor/${size}x${size}/apps/${APP_ID}.png)
endforeach()
set(missing)
foreach(file ${expected})
  if(NOT EXISTS ${prefix}/${file})
    list(APPEND missing ${file})
  endif()
endforeach()
file(REMOVE_RECURSE ${prefix})
if(missing)
  message(FATAL_ERROR "not installed: ${missing}")
endif()
