# Removes the files that were installed from this build directory, and the
# directories that did not exist before, if they are empty.
#
#   cmake -DLIST=installed_files.txt -P uninstall.cmake

if(NOT EXISTS "${LIST}")
  message(STATUS "Nothing was installed from here: there is no ${LIST}")
  return()
endif()

file(STRINGS "${LIST}" entries)
# What is inside a directory comes before the directory.
list(SORT entries ORDER DESCENDING)
set(left)
foreach(entry IN LISTS entries)
  if(entry MATCHES "/$")
    execute_process(COMMAND rmdir "${entry}" OUTPUT_QUIET ERROR_QUIET)
    continue()
  endif()
  if(EXISTS "${entry}" OR IS_SYMLINK "${entry}")
    message(STATUS "Removing ${entry}")
    file(REMOVE "${entry}")
  endif()
  if(EXISTS "${entry}" OR IS_SYMLINK "${entry}")
    list(APPEND left "${entry}")
  endif()
endforeach()
if(left)
  list(JOIN left "\n  " text)
  message(FATAL_ERROR "Could not be removed:\n  ${text}")
endif()
file(REMOVE "${LIST}")
