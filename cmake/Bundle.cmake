# The folder tree of the application, the same in the build directory and once installed.
set(TARNWICK_BUNDLE "${CMAKE_BINARY_DIR}/Tarnwick.app/Contents")

# A link to Vendor/Bin, so that the bundle also has the tools that are obtained after configuring.
file(MAKE_DIRECTORY "${TARNWICK_BUNDLE}/Linux" "${TARNWICK_BUNDLE}/Resources")
file(CREATE_LINK "${PROJECT_SOURCE_DIR}/Vendor/Bin" "${TARNWICK_BUNDLE}/Resources/Tools" SYMBOLIC)
