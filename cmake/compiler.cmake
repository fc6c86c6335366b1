# One set of compile options for every target.
add_library(iqrx_options INTERFACE)
target_compile_options(iqrx_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion -Werror)
# GCC 12 sees overlapping copies in std::string's own operator+ once it inlines it.
target_compile_options(iqrx_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local> $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
target_include_directories(iqrx_options INTERFACE ${PROJECT_SOURCE_DIR}/src)

if(IQRX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(WIN32)
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX)
  add_link_options(-static)
endif()
