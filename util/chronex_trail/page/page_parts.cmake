# The parts that all pages have in common, from the files in web/ and the chart
# library of the system. To be included behind the room "page".

find_file(CHART_LIBRARY chart.min.js PATHS /usr/share/javascript/chart.js
          NO_DEFAULT_PATH REQUIRED)
find_file(CHART_LICENCE copyright PATHS /usr/share/doc/libjs-chart.js
          NO_DEFAULT_PATH REQUIRED)

# In the order in which they are joined.
set(PAGE_STYLES base.css parts.css views.css print.css)
set(PAGE_SCRIPTS elements.js unpack.js zone.js counts.js selection.js
    filter.js command.js rows.js charts.js completeness.js timeline.js brush.js
    heatmap.js bars.js notable.js changes.js detail.js theme.js main.js)
set(PAGE_WEB ${CMAKE_CURRENT_SOURCE_DIR}/page/web)
list(TRANSFORM PAGE_STYLES PREPEND ${PAGE_WEB}/)
list(TRANSFORM PAGE_SCRIPTS PREPEND ${PAGE_WEB}/)
list(JOIN PAGE_STYLES | styles)
list(JOIN PAGE_SCRIPTS | scripts)

set(PAGE_PARTS ${CMAKE_CURRENT_BINARY_DIR}/page_parts.cpp)
set(MAKE_PARTS ${CMAKE_SOURCE_DIR}/cmake/page_parts.cmake)
add_custom_command(
  OUTPUT ${PAGE_PARTS}
  COMMAND ${CMAKE_COMMAND} -DOUT=${PAGE_PARTS} -DBODY=${PAGE_WEB}/body.html
          "-DSTYLES=${styles}" "-DSCRIPTS=${scripts}"
          -DCHART_LIBRARY=${CHART_LIBRARY} -DCHART_LICENCE=${CHART_LICENCE}
          -P ${MAKE_PARTS}
  DEPENDS ${MAKE_PARTS} ${PAGE_WEB}/body.html ${PAGE_STYLES} ${PAGE_SCRIPTS}
          ${CHART_LIBRARY} ${CHART_LICENCE}
  VERBATIM)
target_sources(trail_page PRIVATE ${PAGE_PARTS})
