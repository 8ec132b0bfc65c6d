# The folder that macOS and the host take for a plug-in: KVXImporter.bundle/Contents/
# {Info.plist,PkgInfo,MacOS/KVXImporter,Resources/KVXImporter.rsrc}.

function(kvx_make_bundle target)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(folder ${PROJECT_SOURCE_DIR}/packaging/macos)
  set(resources ${PROJECT_BINARY_DIR}/${target}.rsrc)
  add_custom_command(
    OUTPUT ${resources}
    COMMAND Python3::Interpreter ${folder}/write_resources.py ${resources}
    DEPENDS ${folder}/write_resources.py
    VERBATIM)
  add_custom_target(${target}_resources DEPENDS ${resources})
  add_dependencies(${target} ${target}_resources)
  # What is copied beside the module is copied when the module is linked.
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${resources} ${folder}/PkgInfo)
  set(contents $<TARGET_BUNDLE_CONTENT_DIR:${target}>)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory ${contents}/Resources
    COMMAND ${CMAKE_COMMAND} -E copy ${resources} ${contents}/Resources/${target}.rsrc
    COMMAND ${CMAKE_COMMAND} -E copy ${folder}/PkgInfo ${contents}/PkgInfo
    VERBATIM)
  set_target_properties(${target} PROPERTIES
    BUNDLE TRUE
    MACOSX_BUNDLE_INFO_PLIST ${folder}/Info.plist.in)
endfunction()
