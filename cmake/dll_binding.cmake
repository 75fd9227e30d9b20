# qxcalc_bind_to_dll(TARGET): the program's calls of the exports go to the DLL
# under test (QXCALC_DLL_UNDER_TEST). Every export of the module-definition
# file becomes a one-jump trampoline into the DLL, which the project's PE loader
# maps at start-up (tools/dll_loader/bind_exports.cpp); the program keeps its
# symbols visible, so the ABI test finds the exports by name.
function(qxcalc_bind_to_dll target)
  set(def ${PROJECT_SOURCE_DIR}/src/frame/qxcalc-avx.def)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${def})
  file(STRINGS ${def} exports REGEX "^[ \t]+q[xX][cC]alc")
  set(list "")
  set(k 0)
  foreach(line IN LISTS exports)
    string(REGEX MATCH "q[xX][cC]alc[A-Za-z0-9_]*" name "${line}")
    string(APPEND list "QX_EXPORT(${k}, ${name})\n")
    math(EXPR k "${k} + 1")
  endforeach()
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/${target}-dll)
  file(CONFIGURE OUTPUT ${generated}/dll_exports.inc CONTENT "${list}")
  target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tools/dll_loader/bind_exports.cpp
                                   ${PROJECT_SOURCE_DIR}/tools/dll_loader/pe_loader.cpp)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tools/dll_loader ${PROJECT_SOURCE_DIR}/include ${generated})
  target_compile_definitions(${target} PRIVATE QXCALC_DLL_UNDER_TEST="${QXCALC_DLL_UNDER_TEST}")
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF ENABLE_EXPORTS ON)
  target_link_options(${target} PRIVATE -no-pie)
  target_link_libraries(${target} PRIVATE ${CMAKE_DL_LIBS})
endfunction()
