# Where programs lie that no user calls by name, below the top of the build folder as below that of
# an installation: so they find each other in both without knowing where that is.
set(CORVANE_PRIVATE_FOLDER lib/corvane)

function(corvane_keep_private target)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CORVANE_PRIVATE_FOLDER})
  install(TARGETS ${target} DESTINATION ${CORVANE_PRIVATE_FOLDER})
endfunction()
