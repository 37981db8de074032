# cmake -DOUT=FILE -DHEAD=FILE -DLIBRARIES="pkg;pkg" -P copyright.cmake
# The package's copyright file: HEAD, then each library package's own copyright file from Debian.
file(READ ${HEAD} text)
foreach(library IN LISTS LIBRARIES)
    set(source /usr/share/doc/${library}/copyright)
    if(NOT EXISTS ${source})
        message(FATAL_ERROR "${source} is missing: is ${library} installed (scripts/setup.sh)?")
    endif()
    file(READ ${source} notice)
    string(APPEND text "\n==> ${library}: ${source}\n\n${notice}")
endforeach()
file(WRITE ${OUT} "${text}")
