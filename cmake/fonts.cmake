# The fonts that tests and benchmarks draw with; each comes from a Debian package.

function(zk_find_font variable file package)
  find_file(${variable} ${file}
    PATHS /usr/share/fonts
    PATH_SUFFIXES truetype/dejavu truetype/freefont truetype/wqy opentype/unifont
    NO_CMAKE_FIND_ROOT_PATH)
  if(NOT ${variable})
    message(FATAL_ERROR "${file} is needed (Debian: ${package})")
  endif()
endfunction()

zk_find_font(ZK_FONT_DEJAVU DejaVuSans.ttf fonts-dejavu-core)
zk_find_font(ZK_FONT_FREESERIF FreeSerif.ttf fonts-freefont-ttf)
zk_find_font(ZK_FONT_MICROHEI wqy-microhei.ttc fonts-wqy-microhei)
zk_find_font(ZK_FONT_UNIFONT unifont.otf fonts-unifont)

add_library(zk_fonts INTERFACE)
target_compile_definitions(zk_fonts INTERFACE
  ZK_FONT_DEJAVU="${ZK_FONT_DEJAVU}"
  ZK_FONT_FREESERIF="${ZK_FONT_FREESERIF}"
  ZK_FONT_MICROHEI="${ZK_FONT_MICROHEI}"
  ZK_FONT_UNIFONT="${ZK_FONT_UNIFONT}")
