# A folder holding a link to a folder outside it, made on the host: programs under Wine cannot make
# links themselves.
#   cmake -DROOT=<folder> -P removal_links_fixture.cmake
file(REMOVE_RECURSE "${ROOT}")
file(MAKE_DIRECTORY "${ROOT}/outside" "${ROOT}/work/sub")
file(WRITE "${ROOT}/outside/keep.log" "outside")
file(WRITE "${ROOT}/work/own.log" "own")
file(WRITE "${ROOT}/work/sub/deeper.log" "deeper")
file(CREATE_LINK ../outside "${ROOT}/work/link" SYMBOLIC)
