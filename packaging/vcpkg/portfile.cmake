vcpkg_from_git(
    OUT_SOURCE_PATH SOURCE_PATH
    URL "@RELEASE_REPOSITORY@"
    REF "@RELEASE_COMMIT@"
)

vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        -DDATAPROCESSING_TESTS=OFF
        -DDATAPROCESSING_BENCH=OFF
        -DDATAPROCESSING_EXAMPLES=OFF
        -DDATAPROCESSING_INSTALL=ON
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME DataProcessing CONFIG_PATH lib/cmake/DataProcessing)
vcpkg_fixup_pkgconfig()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include")

file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
