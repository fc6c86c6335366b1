# Libraries that are nothing but headers: Debian's, without the rest of its include directory, which on the way to
# Windows belongs to another system's compiler.
#   iqrx_use_headers(iqrx_qrxctl CLI fmt nlohmann)
function(iqrx_use_headers target)
  foreach(library IN LISTS ARGN)
    file(COPY /usr/include/${library} DESTINATION ${CMAKE_BINARY_DIR}/headers)
    if(library STREQUAL "fmt")
      target_compile_definitions(${target} PRIVATE FMT_HEADER_ONLY)
    endif()
  endforeach()
  target_include_directories(${target} SYSTEM PRIVATE ${CMAKE_BINARY_DIR}/headers)
endfunction()
