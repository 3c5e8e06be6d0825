# What cpack needs to find out on which packages the program depends.

foreach(tool_package "dpkg-shlibdeps;dpkg-dev" "file;file")
  list(POP_FRONT tool_package tool)
  find_program(FOUND_${tool} ${tool})
  if(NOT FOUND_${tool})
    message(FATAL_ERROR "${tool} is missing, without which the package would "
                        "not say what it depends on: install ${tool_package}, "
                        "or use scripts/package")
  endif()
endforeach()
