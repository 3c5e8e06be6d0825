# Makes the source file of what all pages have in common. To be run as a script:
#
#   cmake -DOUT=FILE -DBODY=FILE -DSTYLES=FILES -DSCRIPTS=FILES
#         -DCHART_LIBRARY=FILE -DCHART_LICENCE=FILE -P page_parts.cmake
#
# Lists are separated by "|". Scripts are joined in their order, in a scope of
# their own.

# Reads files into one text; none of them may hold what would end its element
# or its string.
function(join_files result files)
  string(REPLACE "|" ";" names "${files}")
  set(joined "")
  foreach(name IN LISTS names)
    file(READ ${name} text)
    if(text MATCHES "</(script|style)|<!--|\\)chronex_part\"")
      message(FATAL_ERROR "${name} cannot be part of a page")
    endif()
    string(APPEND joined "${text}")
  endforeach()
  set(${result} "${joined}" PARENT_SCOPE)
endfunction()

function(put_part name text)
  file(APPEND ${OUT}.new
       "constexpr char ${name}_TEXT[] = R\"chronex_part(${text})chronex_part\";\n"
       "extern constexpr std::string_view ${name}{${name}_TEXT, sizeof ${name}_TEXT - 1};\n")
endfunction()

file(READ ${BODY} body)
join_files(styles "${STYLES}")
join_files(scripts "${SCRIPTS}")
join_files(chart_library "${CHART_LIBRARY}")
join_files(chart_licence "${CHART_LICENCE}")
string(REPLACE "*/" "* /" chart_licence "${chart_licence}")

file(WRITE ${OUT}.new "// Made by cmake/page_parts.cmake.\n#include \"util/chronex_trail/page/page_parts.h\"\n")
put_part(PAGE_BODY "${body}")
put_part(PAGE_STYLE "${styles}")
put_part(PAGE_SCRIPT "\n(() => {\n'use strict';\n\n${scripts}\n})();\n")
put_part(CHART_LIBRARY "\n/*!\n${chart_licence}*/\n${chart_library}")
file(RENAME ${OUT}.new ${OUT})
