# How every target of the project is compiled.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
                    -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overlaps and overflows that are not there in its own strings, once they are inlined
  # (its bugs 105651 and 105329). The sanitizer builds look for real ones.
  add_compile_options(-Wno-restrict -Wno-stringop-overflow -Wno-array-bounds -Wno-maybe-uninitialized)
endif()
add_compile_definitions(_GLIBCXX_ASSERTIONS)

if(BRINDLEMOSS_SANITIZE)
  # A report needs the lines only, and the rest of the optimizer's work costs more than it saves.
  add_compile_options(-fsanitize=${BRINDLEMOSS_SANITIZE} -fno-omit-frame-pointer
    -O1 -gline-tables-only)
  add_link_options(-fsanitize=${BRINDLEMOSS_SANITIZE})
  if(BRINDLEMOSS_SANITIZE MATCHES undefined)
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
  if(BRINDLEMOSS_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
  endif()
else()
  # What a fault of memory that is in there after all can be used for: as little as possible. The
  # fortified functions of the C library need an optimizer.
  add_compile_options(-fstack-protector-strong -fstack-clash-protection
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=3>)
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()
