# The assembled tree that serves development and installation alike.
set(TARNWICK_BUNDLE "${CMAKE_BINARY_DIR}/Tarnwick.app/Contents")

# The five tools stand in the bundle as a link to Vendor/Bin, so that a tool obtained later is found at once.
file(MAKE_DIRECTORY "${TARNWICK_BUNDLE}/Linux" "${TARNWICK_BUNDLE}/Resources")
file(CREATE_LINK "${PROJECT_SOURCE_DIR}/Vendor/Bin" "${TARNWICK_BUNDLE}/Resources/Tools" SYMBOLIC)
