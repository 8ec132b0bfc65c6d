# kvx_replace_calls(PROGRAM FUNCTION): leads the program's calls of a function of the importer, named as
# in the source, to the test's own; see tests/support/replaced_call.h.
function(kvx_replace_calls program function)
  string(REGEX REPLACE ".*::" "" name ${function})
  set(options ${CMAKE_CURRENT_BINARY_DIR}/${program}_replaces_${name}.txt)
  set(script ${PROJECT_SOURCE_DIR}/tests/support/replace_calls.sh)
  add_custom_command(
    OUTPUT ${options}
    COMMAND ${script} ${CMAKE_NM} $<TARGET_FILE:kvx_importer> ${function} ${options}
    DEPENDS kvx_importer ${script}
    COMMENT ""
    VERBATIM)
  add_custom_target(${program}_replaces_${name} DEPENDS ${options})
  add_dependencies(${program} ${program}_replaces_${name})
  target_link_options(${program} PRIVATE -Wl,@${options})
  set_property(TARGET ${program} APPEND PROPERTY LINK_DEPENDS ${options})
endfunction()
