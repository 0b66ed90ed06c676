# What a site names in TOVELKARIN_PLATFORM_FILE: a target that carries the headers of the platform and
# the libraries behind them.
add_library(platform_double SHARED ${CMAKE_CURRENT_LIST_DIR}/double_system.cpp
                                   ${CMAKE_CURRENT_LIST_DIR}/double_values.cpp)
target_include_directories(platform_double PUBLIC ${CMAKE_CURRENT_LIST_DIR}/../../platform/include)
add_library(tovelkarin_platform ALIAS platform_double)
