# Every third-party library as one interface target below the name dep::, its headers taken as system headers.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)
find_program(WX_CONFIG wx-config REQUIRED)

# dep::NAME from a pkg-config module.
function(dep_pkg name module)
    pkg_check_modules(PKG_${name} REQUIRED ${module})
    add_library(dep_${name} INTERFACE)
    target_include_directories(dep_${name} SYSTEM INTERFACE ${PKG_${name}_INCLUDE_DIRS})
    target_link_directories(dep_${name} INTERFACE ${PKG_${name}_LIBRARY_DIRS})
    target_link_libraries(dep_${name} INTERFACE ${PKG_${name}_LIBRARIES})
    add_library(dep::${name} ALIAS dep_${name})
endfunction()

# dep::NAME from wx-config. The base flags carry wxUSE_GUI=0: with them a window header does not compile.
function(dep_wx name flags libraries)
    execute_process(COMMAND ${WX_CONFIG} --cxxflags ${flags} OUTPUT_VARIABLE compile OUTPUT_STRIP_TRAILING_WHITESPACE
                    COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${WX_CONFIG} --libs ${libraries} OUTPUT_VARIABLE link OUTPUT_STRIP_TRAILING_WHITESPACE
                    COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(compile)
    separate_arguments(link)
    add_library(dep_${name} INTERFACE)
    foreach(flag IN LISTS compile)
        if(flag MATCHES "^-I(.*)")
            target_include_directories(dep_${name} SYSTEM INTERFACE ${CMAKE_MATCH_1})
        else()
            target_compile_options(dep_${name} INTERFACE ${flag})
        endif()
    endforeach()
    target_link_libraries(dep_${name} INTERFACE ${link})
    add_library(dep::${name} ALIAS dep_${name})
endfunction()

dep_wx(wxbase base base)
dep_wx(wxgui "core,adv,aui" "core,adv,aui,html")

dep_pkg(exiv2 exiv2)
dep_pkg(jpeg libjpeg)
dep_pkg(turbojpeg libturbojpeg)
dep_pkg(png libpng)
dep_pkg(tiff libtiff-4)
dep_pkg(webp libwebp)
dep_pkg(openjp2 libopenjp2)
dep_pkg(heif libheif)
dep_pkg(raw libraw_r)
dep_pkg(qpdf libqpdf)
dep_pkg(curl libcurl)
dep_pkg(crypto libcrypto)
dep_pkg(brotli libbrotlidec)
dep_pkg(brotlienc libbrotlienc)  # tests only
dep_pkg(ssl openssl)
dep_pkg(sqlite sqlite3)
pkg_check_modules(PKG_pangocairo REQUIRED pangocairo)
pkg_check_modules(PKG_rsvg REQUIRED librsvg-2.0)
dep_pkg(mathplot cb_wxmathplot)
# The library's own headers are found through the folder below its Cflags folder.
target_include_directories(dep_mathplot SYSTEM INTERFACE /usr/include/codeblocks)

find_path(GIF_INCLUDE gif_lib.h REQUIRED)
find_library(GIF_LIBRARY gif REQUIRED)
add_library(dep_gif INTERFACE)
target_link_libraries(dep_gif INTERFACE ${GIF_LIBRARY})
add_library(dep::gif ALIAS dep_gif)

find_library(JBIG2DEC_LIBRARY jbig2dec REQUIRED)
add_library(dep_jbig2dec INTERFACE)
target_link_libraries(dep_jbig2dec INTERFACE ${JBIG2DEC_LIBRARY})
add_library(dep::jbig2dec ALIAS dep_jbig2dec)

# A few modules of OpenCV only: its image-codec module costs more at start-up than everything else together.
pkg_check_modules(PKG_OPENCV REQUIRED opencv4)
add_library(dep_opencv INTERFACE)
target_include_directories(dep_opencv SYSTEM INTERFACE ${PKG_OPENCV_INCLUDE_DIRS})
target_link_directories(dep_opencv INTERFACE ${PKG_OPENCV_LIBRARY_DIRS})
target_link_libraries(dep_opencv INTERFACE opencv_core opencv_imgproc)
add_library(dep::opencv ALIAS dep_opencv)
# The keypoint detector; it brings one more small module of the same library, and nothing else.
add_library(dep_opencvfeatures INTERFACE)
target_link_libraries(dep_opencvfeatures INTERFACE dep_opencv opencv_features2d)
add_library(dep::opencvfeatures ALIAS dep_opencvfeatures)

# The library that the window toolkit draws with; its runtime comes with the toolkit, and no header of it is used.
find_library(CAIRO_LIBRARY NAMES cairo libcairo.so.2 REQUIRED)
add_library(dep_cairo INTERFACE)
target_link_libraries(dep_cairo INTERFACE ${CAIRO_LIBRARY})
add_library(dep::cairo ALIAS dep_cairo)

# The libraries of the toolkit that know the names which assistive programs read out; no header of them is used.
find_library(GTK_LIBRARY NAMES gtk-3 libgtk-3.so.0 REQUIRED)
find_library(ATK_LIBRARY NAMES atk-1.0 libatk-1.0.so.0 REQUIRED)
add_library(dep_accessibility INTERFACE)
target_link_libraries(dep_accessibility INTERFACE ${GTK_LIBRARY} ${ATK_LIBRARY})

# Those that know the native parts inside a control and their events; likewise.
find_library(GDK_LIBRARY NAMES gdk-3 libgdk-3.so.0 REQUIRED)
find_library(GOBJECT_LIBRARY NAMES gobject-2.0 libgobject-2.0.so.0 REQUIRED)
add_library(dep_nativeparts INTERFACE)
target_link_libraries(dep_nativeparts INTERFACE ${GTK_LIBRARY} ${GDK_LIBRARY} ${GOBJECT_LIBRARY})
add_library(dep::accessibility ALIAS dep_accessibility)
add_library(dep::nativeparts ALIAS dep_nativeparts)
