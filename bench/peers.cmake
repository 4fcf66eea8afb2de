# The programs the process-level benchmarks (process_metrics.sh) need besides Brevlin: the Qt floor to
# compare with, and the start-up probe. Included by bench/CMakeLists.txt, so they get the project's
# compile flags; both land next to brevlin in bin/, where the script looks for them.

# A frameless Qt Widgets window with one line edit: what Qt alone costs.
add_executable(qt_floor ${CMAKE_CURRENT_LIST_DIR}/QtFloor.cpp)
target_link_libraries(qt_floor PRIVATE Qt6::Widgets)
set_target_properties(qt_floor PROPERTIES
    AUTOMOC OFF
    AUTOUIC OFF
    AUTORCC OFF
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
)

# Forks and execs a program and times its first window being mapped and drawn; plain xcb, X11 only.
if(UNIX AND NOT APPLE)
    find_package(PkgConfig QUIET)
    if(PkgConfig_FOUND)
        pkg_check_modules(BENCH_XCB QUIET IMPORTED_TARGET xcb)
    endif()
    if(BENCH_XCB_FOUND)
        add_executable(startup_probe ${CMAKE_CURRENT_LIST_DIR}/StartupProbe.cpp)
        target_link_libraries(startup_probe PRIVATE PkgConfig::BENCH_XCB)
        # The one deleter for xcb's malloc'd replies, shared with the tests.
        target_include_directories(startup_probe PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
        target_compile_features(startup_probe PRIVATE cxx_std_17)
        set_target_properties(startup_probe PROPERTIES
            AUTOMOC OFF
            AUTOUIC OFF
            AUTORCC OFF
            RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
        )
    endif()
    # Watches a window's frames reach the X server (the Damage extension), for the tick lateness.
    if(PkgConfig_FOUND)
        pkg_check_modules(BENCH_XCB_DAMAGE QUIET IMPORTED_TARGET xcb-damage)
    endif()
    if(BENCH_XCB_FOUND AND BENCH_XCB_DAMAGE_FOUND)
        add_executable(frame_watch ${CMAKE_CURRENT_LIST_DIR}/FrameWatch.cpp)
        target_link_libraries(frame_watch PRIVATE PkgConfig::BENCH_XCB PkgConfig::BENCH_XCB_DAMAGE)
        target_compile_features(frame_watch PRIVATE cxx_std_17)
        set_target_properties(frame_watch PROPERTIES
            AUTOMOC OFF
            AUTOUIC OFF
            AUTORCC OFF
            RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
        )
    endif()
endif()
