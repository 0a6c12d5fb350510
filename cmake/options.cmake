# How this project compiles its own code.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
if(ZK_IS_TOP)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
endif()

if(ZK_SANITIZE)
  add_compile_options(-fsanitize=${ZK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZK_SANITIZE})
endif()
if(ZK_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic -fprofile-abs-path)
  add_link_options(--coverage)
endif()
if(ZK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# What Debian builds its packages with: a program stops when its stack or a buffer of
# known size is written past its end, and its tables of addresses cannot be written.
if(ZK_HARDEN)
  add_compile_options(-fstack-protector-strong -fstack-clash-protection
    -Wformat -Werror=format-security -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  add_link_options(LINKER:-z,relro,-z,now)
endif()

# Floating point that gives the same bits on machines with and without fused
# multiply-add, and every warning that a stranger's compiler may show. A project
# that adds this one to its own sees none of ours.
function(zk_own_code target)
  target_compile_options(${target} PRIVATE -ffp-contract=off)
  if(ZK_IS_TOP)
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
  endif()
endfunction()

# Unused functions leave the library, calls inside it are bound at link time,
# and an undefined symbol is found when the library is linked, not on a device.
function(zk_small_code target)
  target_compile_options(${target} PRIVATE
    $<$<CONFIG:Release>:-O2> -ffunction-sections -fdata-sections $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  if(NOT ZK_STATIC)
    target_link_options(${target} PRIVATE LINKER:--gc-sections LINKER:--as-needed
      LINKER:-Bsymbolic-functions)
    if(NOT ZK_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
  endif()
endfunction()
