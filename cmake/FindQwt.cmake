# Finds Qwt built for Qt 5; defines the target Qwt::Qwt.
find_path(QWT_INCLUDE_DIR qwt_global.h PATH_SUFFIXES qwt qwt-qt5 qwt6-qt5)
find_library(QWT_LIBRARY NAMES qwt-qt5 qwt)
if(QWT_INCLUDE_DIR)
  file(STRINGS "${QWT_INCLUDE_DIR}/qwt_global.h" _qwt_version
       REGEX "#define[ \t]+QWT_VERSION_STR")
  string(REGEX REPLACE ".*\"([0-9.]+)\".*" "\\1" QWT_VERSION "${_qwt_version}")
endif()
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Qwt REQUIRED_VARS QWT_LIBRARY QWT_INCLUDE_DIR
                                  VERSION_VAR QWT_VERSION)
if(Qwt_FOUND AND NOT TARGET Qwt::Qwt)
  add_library(Qwt::Qwt UNKNOWN IMPORTED)
  set_target_properties(Qwt::Qwt PROPERTIES
    IMPORTED_LOCATION "${QWT_LIBRARY}"
    INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${QWT_INCLUDE_DIR}"
    INTERFACE_INCLUDE_DIRECTORIES "${QWT_INCLUDE_DIR}")
endif()
